// Looking discs up in a local database of many records, and what its index costs.
//
// The tree of records in files of their own is named by NVLIB_BENCH_CDDB, the one in range files by
// NVLIB_BENCH_CDDB_RANGES, and the discs to look for by NVLIB_BENCH_QUERIES: lines of "category id tracks offset...
// seconds". scripts/bench.sh has all three made. Figures are times of one disc, files in the page cache.
//
//   query_fresh      a new client's first question, without an index, as a program meets it that asks once
//   query_fresh_ranges  the same where all records are in range files, in which such a question does not look
//   query_new        a client that keeps an index is asked for a disc whose candidates it has not seen: it reads them
//   query_again      the same for a disc that it was asked for before; the folders' times are looked at each time
//   index            the second question of a client, in which the index is made
//   range_fresh      Read from range files by a new client
#include "CDDB.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

struct Disc {
    u32 id = 0;
    std::vector<i32> offsets;
};

const std::vector<Disc>& Discs()
{
    static const std::vector<Disc> discs = [] {
        std::vector<Disc> read;
        const char* const path = std::getenv("NVLIB_BENCH_QUERIES");
        std::ifstream file(path ? path : "");
        for (std::string line; std::getline(file, line);) {
            std::istringstream fields(line);
            std::string category, id;
            std::size_t tracks = 0;
            fields >> category >> id >> tracks;
            Disc disc;
            disc.id = static_cast<u32>(std::stoul(id, nullptr, 16));
            disc.offsets.resize(tracks);
            for (i32& offset : disc.offsets)
                fields >> offset;
            read.push_back(disc);
        }
        return read;
    }();
    return discs;
}

const char* Tree(benchmark::State& state, const char* variable)
{
    const char* const tree = std::getenv(variable);
    if (!tree || Discs().empty())
        state.SkipWithError((std::string(variable) + " or NVLIB_BENCH_QUERIES names nothing").c_str());
    return tree && !Discs().empty() ? tree : nullptr;
}

/// One pass over all discs is one iteration; the time is that of one disc.
template <class Ask>
void AskForAll(benchmark::State& state, Ask ask)
{
    std::size_t found = 0;
    for (auto _ : state) {
        found = 0;
        const auto start = std::chrono::steady_clock::now();
        for (const Disc& disc : Discs())
            found += static_cast<std::size_t>(ask(disc));
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(seconds / static_cast<double>(Discs().size()));
    }
    state.counters["found"] = static_cast<double>(found);
    state.counters["discs"] = static_cast<double>(Discs().size());
}

void AskFresh(benchmark::State& state, const char* variable)
{
    const char* const tree = Tree(state, variable);
    if (!tree)
        return;
    AskForAll(state, [&](const Disc& disc) {
        CCDDB client;
        std::vector<CCDDBRecord> records;
        return client.QueryLocal(tree, disc.id, disc.offsets, records);
    });
}

void query_fresh(benchmark::State& state)
{
    AskFresh(state, "NVLIB_BENCH_CDDB");
}

void query_fresh_ranges(benchmark::State& state)
{
    AskFresh(state, "NVLIB_BENCH_CDDB_RANGES");
}

/// By a client that has its index, which is made at the second question.
void AskWithIndex(benchmark::State& state, bool askedBefore)
{
    const char* const tree = Tree(state, "NVLIB_BENCH_CDDB");
    if (!tree)
        return;
    CCDDB client;
    std::vector<CCDDBRecord> records;
    const auto ask = [&](const Disc& disc) { return client.QueryLocal(tree, disc.id, disc.offsets, records); };
    for (int i = 0; i < 2; ++i)
        ask(Discs()[0]);
    if (askedBefore)
        for (const Disc& disc : Discs())
            ask(disc);
    AskForAll(state, ask);
}

void query_new(benchmark::State& state)
{
    AskWithIndex(state, false);
}

void query_again(benchmark::State& state)
{
    AskWithIndex(state, true);
}

void index(benchmark::State& state)
{
    const char* const tree = Tree(state, "NVLIB_BENCH_CDDB");
    if (!tree)
        return;
    std::vector<CCDDBRecord> records;
    for (auto _ : state) {
        CCDDB client;
        client.QueryLocal(tree, Discs()[0].id, Discs()[0].offsets, records);
        const auto start = std::chrono::steady_clock::now();
        client.QueryLocal(tree, Discs()[0].id, Discs()[0].offsets, records);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

void range_fresh(benchmark::State& state)
{
    const char* const tree = Tree(state, "NVLIB_BENCH_CDDB_RANGES");
    if (!tree)
        return;
    AskForAll(state, [&](const Disc& disc) {
        CCDDB client;
        CCDDBRecord record;
        CString category;
        return client.Read(tree, disc.id, false, record, category);
    });
}

} // namespace

BENCHMARK(query_fresh)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);
BENCHMARK(query_fresh_ranges)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);
BENCHMARK(query_new)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);
BENCHMARK(query_again)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(10);
BENCHMARK(index)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(range_fresh)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1);

BENCHMARK_MAIN();
