#include "questions/micro.h"
#include "questions/question.h"

namespace zel::bench {

namespace {

Row compare(const MicroResults &results, const std::string &work, const std::string &what,
            const std::string &other, double target)
{
    const MicroResult &ours = results.at(work + "/zel");
    const MicroResult &theirs = results.at(work + "/" + other);
    return Paired{ours.seconds, theirs.seconds}.row(what + ", over " + other, target, ours.nodes);
}

} // namespace

void askCodec(const Bench &bench, Report &report)
{
    const MicroResults results = runMicro(bench, "codec");
    const std::pair<const char *, const char *> trees[] = {
        {"pairs", "1,000 x [u64, u32]"}, {"texts", "18 short texts"}, {"mixed", "mixed tree of depth 6"}};
    for (const auto &[tree, name] : trees) {
        const std::string stem = tree;
        const std::string what = name;
        // libcbor's tree is like ours, with one object per node; msgpack allocates the whole tree in one
        // zone.
        report.add(compare(results, "decode/" + stem, "decode " + what, "libcbor", 0.5));
        Row zone = compare(results, "decode/" + stem, "decode " + what, "msgpack", 0);
        zone.target.reset();
        report.add(zone);
        report.add(compare(results, "encode/" + stem, "encode " + what, "libcbor", 1));
        report.add(compare(results, "encode/" + stem, "encode " + what, "msgpack", 1));
    }
}

} // namespace zel::bench
