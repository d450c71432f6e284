// Places inside the library where the obvious implementation is many times slower than the best one. Each is
// compared with the least work that its task needs. Names are subject/size/side.

#include "common/bytes.h"
#include "common/canned.h"
#include "micro/memory_stream.h"

#include "pages/page_list.h"
#include "protocol/frames/request_encoder.h"
#include "protocol/values/value_format.h"
#include "sys/log.h"

#include <benchmark/benchmark.h>

#include <sys/mman.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zel::bench {
namespace {

std::size_t sizeOf(const benchmark::State &state)
{
    return static_cast<std::size_t>(state.range(0));
}

Value decoded(std::string_view bytes)
{
    MemorySource source(bytes);
    ProtocolInputStream in(source.rewound(), source);
    return ValueFormatV1_0().decode(in);
}

// A long text for the log.

void logTextZel(benchmark::State &state)
{
    const std::string text(sizeOf(state), 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(FormatLogText("Received and parsed value:\n%s", text.c_str()));
}

// Adding pages to a request.

void requestZel(benchmark::State &state)
{
    for (auto _ : state) {
        RequestEncoderV1_0 encoder(PidgetAddress("*.*.*.*:549"));
        for (std::uint32_t i = 0; i < state.range(0); ++i)
            encoder.setPageData(PageAddress(pageAddress(i)), {});
        benchmark::DoNotOptimize(&encoder);
    }
}

// A list of pages: sorting it, and making its text.

PageList unsortedPages(std::size_t count)
{
    Pens pens;
    pens.pages = static_cast<std::uint32_t>(count);
    const Bytes answer = answerTo(instruction::kListPages, 0, pens);
    return PageList(decoded(answer.view()).getArray()[1]);
}

void sortZel(benchmark::State &state)
{
    const PageList pages = unsortedPages(sizeOf(state));
    for (auto _ : state) {
        PageList sorted = pages;
        sorted.sort();
        benchmark::DoNotOptimize(&sorted);
    }
}

void sortBare(benchmark::State &state)
{
    std::vector<std::pair<std::uint64_t, std::uint32_t>> pages;
    for (const PenPage &page : unsortedPages(sizeOf(state)))
        pages.emplace_back(page.address().raw(), page.getSize());
    for (auto _ : state) {
        auto sorted = pages;
        std::stable_sort(sorted.begin(), sorted.end());
        benchmark::DoNotOptimize(&sorted);
    }
}

void listTextZel(benchmark::State &state)
{
    const PageList pages = unsortedPages(sizeOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(pages.toString());
}

void listTextBare(benchmark::State &state)
{
    const PageList pages = unsortedPages(sizeOf(state));
    for (auto _ : state) {
        std::string text;
        for (const PenPage &page : pages) {
            const std::uint64_t raw = page.address().raw();
            char one[64];
            text.append(one, static_cast<std::size_t>(std::snprintf(
                                 one, sizeof one, "%" PRIu64 ".%" PRIu64 ".%" PRIu64 ".%" PRIu64 ";",
                                 raw >> 40 & 0xfff, raw >> 24 & 0xffff, raw >> 12 & 0xfff, raw & 0xfff)));
        }
        benchmark::DoNotOptimize(text);
    }
}

// The text form of an answer, which is a part of the log text of every answer.

void answerTextZel(benchmark::State &state)
{
    Pens pens;
    pens.pages = static_cast<std::uint32_t>(state.range(0));
    const Bytes answer = answerTo(instruction::kListPages, 0, pens);
    const Value value = decoded(answer.view());
    std::string text;
    for (auto _ : state) {
        value.toString(text);
        benchmark::DoNotOptimize(text);
    }
}

void answerTextBare(benchmark::State &state)
{
    for (auto _ : state) {
        std::string text;
        for (std::uint32_t i = 0; i < state.range(0); ++i) {
            char page[160];
            text.append(page, static_cast<std::size_t>(
                                  std::snprintf(page, sizeof page,
                                                "\n        (value array) 2\n            (long64) %" PRId64
                                                "\n            (int32) %d",
                                                static_cast<std::int64_t>(pageAddress(i)), 0)));
        }
        benchmark::DoNotOptimize(text);
    }
}

// Finding out whether strokes are an encoded value, which the log text of every answer needs.

void looksEncodedZel(benchmark::State &state, const char *kind)
{
    Pens pens;
    pens.strokes = kind;
    pens.pageSize = static_cast<std::uint32_t>(state.range(0));
    const std::string strokes = strokesOf(pens);
    const auto value = Value::createBinary(reinterpret_cast<const std::uint8_t *>(strokes.data()),
                                           static_cast<std::uint32_t>(strokes.size()));
    for (auto _ : state)
        benchmark::DoNotOptimize(value.isEncodedValue());
}

void textOfStrokesZel(benchmark::State &state, const char *kind)
{
    Pens pens;
    pens.strokes = kind;
    pens.pageSize = static_cast<std::uint32_t>(state.range(0));
    const std::string strokes = strokesOf(pens);
    const auto value = Value::createBinary(reinterpret_cast<const std::uint8_t *>(strokes.data()),
                                           static_cast<std::uint32_t>(strokes.size()));
    std::string text;
    for (auto _ : state) {
        value.toString(text);
        benchmark::DoNotOptimize(text);
    }
}

// Reading a large binary from a stream, without trusting its announced length. Both sides get the memory from
// the system and give it back, as a retrieval does for strokes.

void binaryZel(benchmark::State &state)
{
    MemorySource source(Bytes().binaryValue(std::string(sizeOf(state), 's')).view());
    ValueFormatV1_0 format;
    for (auto _ : state) {
        ProtocolInputStream in(source.rewound(), source);
        benchmark::DoNotOptimize(format.decode(in));
    }
}

void binaryBare(benchmark::State &state)
{
    const std::string bytes(sizeOf(state), 's');
    for (auto _ : state) {
        void *const block =
            mmap(nullptr, bytes.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        std::memcpy(block, bytes.data(), bytes.size());
        benchmark::DoNotOptimize(block);
        munmap(block, bytes.size());
    }
}

// Strokes with escaped bytes: about one byte in a hundred is escaped.

std::string stuffed(std::size_t size)
{
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes += i % 100 == 0 ? std::string("\xDB\xDC") : std::string(1, static_cast<char>(i % 100));
    return bytes + '\xC0';
}

void escapedZel(benchmark::State &state)
{
    MemorySource source(Bytes().u8(14).raw(stuffed(sizeOf(state))).view());
    ValueFormatV1_0 format;
    for (auto _ : state) {
        ProtocolInputStream in(source.rewound(), source);
        benchmark::DoNotOptimize(format.decode(in));
    }
}

void escapedBare(benchmark::State &state)
{
    const std::string bytes = stuffed(sizeOf(state));
    for (auto _ : state) {
        std::vector<char> data;
        for (std::size_t i = 0; bytes[i] != '\xC0'; ++i) {
            char byte = bytes[i];
            if (byte == '\xDB')
                byte = bytes[++i] == '\xDC' ? '\xC0' : '\xDB';
            data.push_back(byte);
        }
        benchmark::DoNotOptimize(data.data());
    }
}

void growing(const char *name, void (*run)(benchmark::State &))
{
    for (const int size : {5'000, 10'000, 20'000, 40'000})
        benchmark::RegisterBenchmark(name, run)->Arg(size);
}

void beside(const char *name, std::int64_t size, void (*zel)(benchmark::State &),
            void (*bare)(benchmark::State &))
{
    const std::string stem = name;
    benchmark::RegisterBenchmark((stem + "/zel").c_str(), zel)->Arg(size);
    benchmark::RegisterBenchmark((stem + "/bare").c_str(), bare)->Arg(size);
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    using namespace zel::bench;
    constexpr std::int64_t kMebibyte = 1 << 20;
    for (std::int64_t size = kMebibyte / 2; size <= 4 * kMebibyte; size *= 2)
        benchmark::RegisterBenchmark("log-text", logTextZel)->Arg(size);
    growing("request", requestZel);
    beside("sort", 40'000, sortZel, sortBare);
    beside("list-text", 20'000, listTextZel, listTextBare);
    growing("list-text-growth", listTextZel);
    beside("answer-text", 20'000, answerTextZel, answerTextBare);
    beside("binary", 4 * kMebibyte, binaryZel, binaryBare);
    beside("escaped", kMebibyte, escapedZel, escapedBare);
    for (const char *kind : {"plain", "almost"})
        benchmark::RegisterBenchmark((std::string("looks-encoded/") + kind).c_str(), looksEncodedZel, kind)
            ->Arg(4 * kMebibyte);
    for (std::int64_t size = kMebibyte / 2; size <= 4 * kMebibyte; size *= 2)
        benchmark::RegisterBenchmark("text-of-nested", textOfStrokesZel, "nested")->Arg(size);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
