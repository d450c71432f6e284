// How fast are values decoded and encoded? Each tree is built from one description and given to
// this library's codec, to libcbor and to msgpack-cxx. Decoding includes the destruction of the
// tree; encoding writes into memory that was allocated before. Names are operation/tree/library.

#include "common/bytes.h"
#include "micro/memory_stream.h"

#include "protocol/values/value_format.h"

#include <benchmark/benchmark.h>
#include <cbor.h>
#include <msgpack.hpp>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace zel::bench {
namespace {

/** The numbers are so large that no encoding can shorten them. */
struct Node {
    enum class Kind { List, Bool, Int32, Long64, Text, Binary } kind = Kind::List;
    std::uint64_t number = 0;
    std::string text;
    std::vector<Node> children;

    std::size_t count() const
    {
        std::size_t sum = 1;
        for (const Node &child : children)
            sum += child.count();
        return sum;
    }
};

Node boolNode(bool value)
{
    return {Node::Kind::Bool, value, {}, {}};
}
Node intNode(std::uint32_t value)
{
    return {Node::Kind::Int32, 0x70000000u | value, {}, {}};
}
Node longNode(std::uint64_t value)
{
    return {Node::Kind::Long64, 0x7000000000000000u | value, {}, {}};
}
Node textNode(std::string text)
{
    return {Node::Kind::Text, 0, std::move(text), {}};
}
Node binaryNode(std::string bytes)
{
    return {Node::Kind::Binary, 0, std::move(bytes), {}};
}

/** The answer of a pen with 1,000 pages to a request for its page list. */
Node pairs()
{
    Node tree;
    for (std::uint32_t i = 0; i < 1000; ++i)
        tree.children.push_back({Node::Kind::List, 0, {}, {longNode(i), intNode(i)}});
    return tree;
}

Node shortTexts()
{
    Node tree;
    for (int i = 0; i < 18; ++i)
        tree.children.push_back(textNode("a property " + std::to_string(i)));
    return tree;
}

Node mixed(int depth)
{
    Node tree;
    tree.children = {intNode(7), textNode("mixed"), boolNode(true), binaryNode("twelve bytes"), longNode(9)};
    for (int i = 0; i < 2 && depth > 1; ++i)
        tree.children.push_back(mixed(depth - 1));
    return tree;
}

void toZel(const Node &node, Bytes &out)
{
    switch (node.kind) {
    case Node::Kind::List:
        out.arrayOf(node.children.size());
        for (const Node &child : node.children)
            toZel(child, out);
        break;
    case Node::Kind::Bool:
        out.boolValue(node.number != 0);
        break;
    case Node::Kind::Int32:
        out.intValue(node.number);
        break;
    case Node::Kind::Long64:
        out.longValue(node.number);
        break;
    case Node::Kind::Text:
        out.stringValue(node.text);
        break;
    case Node::Kind::Binary:
        out.binaryValue(node.text);
        break;
    }
}

void toMsgpack(const Node &node, msgpack::packer<msgpack::sbuffer> &out)
{
    const auto length = static_cast<std::uint32_t>(node.text.size());
    switch (node.kind) {
    case Node::Kind::List:
        out.pack_array(static_cast<std::uint32_t>(node.children.size()));
        for (const Node &child : node.children)
            toMsgpack(child, out);
        break;
    case Node::Kind::Bool:
        node.number != 0 ? out.pack_true() : out.pack_false();
        break;
    case Node::Kind::Int32:
        out.pack_uint32(static_cast<std::uint32_t>(node.number));
        break;
    case Node::Kind::Long64:
        out.pack_uint64(node.number);
        break;
    case Node::Kind::Text:
        out.pack_str(length);
        out.pack_str_body(node.text.data(), length);
        break;
    case Node::Kind::Binary:
        out.pack_bin(length);
        out.pack_bin_body(node.text.data(), length);
        break;
    }
}

cbor_item_t *toCbor(const Node &node)
{
    const auto *const bytes = reinterpret_cast<const unsigned char *>(node.text.data());
    switch (node.kind) {
    case Node::Kind::Bool:
        return cbor_build_bool(node.number != 0);
    case Node::Kind::Int32:
        return cbor_build_uint32(static_cast<std::uint32_t>(node.number));
    case Node::Kind::Long64:
        return cbor_build_uint64(node.number);
    case Node::Kind::Text:
        return cbor_build_stringn(node.text.data(), node.text.size());
    case Node::Kind::Binary:
        return cbor_build_bytestring(bytes, node.text.size());
    case Node::Kind::List:
        break;
    }
    cbor_item_t *const list = cbor_new_definite_array(node.children.size());
    for (const Node &child : node.children)
        static_cast<void>(cbor_array_push(list, cbor_move(toCbor(child))));
    return list;
}

struct CborDeleter {
    void operator()(cbor_item_t *item) const { cbor_decref(&item); }
};
using CborItem = std::unique_ptr<cbor_item_t, CborDeleter>;

std::vector<unsigned char> cborBytes(const Node &tree)
{
    const CborItem item(toCbor(tree));
    unsigned char *bytes = nullptr;
    std::size_t size = 0;
    const std::size_t length = cbor_serialize_alloc(item.get(), &bytes, &size);
    std::vector<unsigned char> copy(bytes, bytes + length);
    std::free(bytes);
    return copy;
}

CborItem loadCbor(const std::vector<unsigned char> &bytes)
{
    cbor_load_result result;
    return CborItem(cbor_load(bytes.data(), bytes.size(), &result));
}

msgpack::sbuffer msgpackBytes(const Node &tree)
{
    msgpack::sbuffer bytes;
    msgpack::packer<msgpack::sbuffer> packer(bytes);
    toMsgpack(tree, packer);
    return bytes;
}

Bytes zelBytes(const Node &tree)
{
    Bytes bytes;
    toZel(tree, bytes);
    return bytes;
}

void decodeZel(benchmark::State &state, const Node &tree)
{
    MemorySource source(zelBytes(tree).view());
    ValueFormatV1_0 format;
    for (auto _ : state) {
        ProtocolInputStream in(source.rewound(), source);
        benchmark::DoNotOptimize(format.decode(in));
    }
}

void decodeCbor(benchmark::State &state, const Node &tree)
{
    const std::vector<unsigned char> bytes = cborBytes(tree);
    for (auto _ : state)
        benchmark::DoNotOptimize(loadCbor(bytes));
}

void decodeMsgpack(benchmark::State &state, const Node &tree)
{
    const msgpack::sbuffer bytes = msgpackBytes(tree);
    for (auto _ : state)
        benchmark::DoNotOptimize(msgpack::unpack(bytes.data(), bytes.size()));
}

void encodeZel(benchmark::State &state, const Node &tree)
{
    const Bytes bytes = zelBytes(tree);
    MemorySource source(bytes.view());
    ProtocolInputStream in(source.rewound(), source);
    ValueFormatV1_0 format;
    const Value value = format.decode(in);
    MemorySink sink(bytes.size());
    for (auto _ : state) {
        ProtocolOutputStream out(sink.rewound());
        format.encode(out, value);
        benchmark::ClobberMemory();
    }
    if (sink.written() != bytes.view())
        state.SkipWithError("the encoding is wrong");
}

void encodeCbor(benchmark::State &state, const Node &tree)
{
    std::vector<unsigned char> bytes = cborBytes(tree);
    const CborItem item = loadCbor(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(cbor_serialize(item.get(), bytes.data(), bytes.size()));
        benchmark::ClobberMemory();
    }
}

void encodeMsgpack(benchmark::State &state, const Node &tree)
{
    msgpack::sbuffer bytes = msgpackBytes(tree);
    const msgpack::object_handle object = msgpack::unpack(bytes.data(), bytes.size());
    for (auto _ : state) {
        bytes.clear();
        msgpack::pack(bytes, object.get());
        benchmark::ClobberMemory();
    }
}

void add(const std::string &name, const Node &tree, void (*run)(benchmark::State &, const Node &))
{
    benchmark::RegisterBenchmark(name.c_str(), [&tree, run](benchmark::State &state) {
        run(state, tree);
        state.counters["nodes"] = static_cast<double>(tree.count());
    });
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    using namespace zel::bench;
    const std::pair<std::string, Node> trees[] = {
        {"pairs", pairs()}, {"texts", shortTexts()}, {"mixed", mixed(6)}};
    for (const auto &[name, tree] : trees) {
        add("decode/" + name + "/zel", tree, decodeZel);
        add("decode/" + name + "/libcbor", tree, decodeCbor);
        add("decode/" + name + "/msgpack", tree, decodeMsgpack);
        add("encode/" + name + "/zel", tree, encodeZel);
        add("encode/" + name + "/libcbor", tree, encodeCbor);
        add("encode/" + name + "/msgpack", tree, encodeMsgpack);
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
