// The containers against the standard ones doing the same work in the same run:
//   MxMap<int, String> vs std::map<int, std::u16string>: 100k random inserts, lookups, removes
//     (lookup counters: the tree's height in entries against the red-black bound
//     2 log2(n + 1));
//   SyncMap under two threads vs std::map guarded by std::recursive_mutex;
//   MxMap::PrintToString of 10k and 100k entries (counters: units drawn, ns per unit);
//   MxList<int> AddTail of 1M, a cursor walk and the teardown vs std::list<int>;
//   the Cold* rows: the same work once, for a fresh process each (see the end of the file).
//
// Run: mlib_container_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving
// --benchmark_report_aggregates_only. Compare each mlib row with the std row beside it
// (std time / mlib time: above 1, mlib is faster).
#include <benchmark/benchmark.h>
#include <mlib/containers.h>

#include <algorithm>
#include <cmath>
#include <list>
#include <map>
#include <mutex>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using mlib::MxList;
using mlib::MxMap;
using mlib::String;
using mlib::SyncMap;

constexpr int kMapEntries = 100000;
// Longer than the standard string's inline buffer, so both sides allocate per value.
const mlib::WideChar kValueText[] = MLIB_T("registry message text");

// kMapEntries distinct keys in random order, and the same keys shuffled again for lookups.
struct Keys {
  std::vector<int> insertOrder;
  std::vector<int> lookupOrder;
  Keys() {
    std::mt19937 random(42);
    std::vector<int> all(static_cast<std::size_t>(kMapEntries) * 4);
    std::iota(all.begin(), all.end(), -kMapEntries);
    std::shuffle(all.begin(), all.end(), random);
    insertOrder.assign(all.begin(), all.begin() + kMapEntries);
    lookupOrder = insertOrder;
    std::shuffle(lookupOrder.begin(), lookupOrder.end(), random);
  }
};
const Keys& keys() {
  static const Keys instance;
  return instance;
}

using StdMap = std::map<int, std::u16string>;

int treeHeight(MxMap<int, String>& map) {
  using Node = MxMap<int, String>::NODE;
  Node* root = map.GetFirstNode();
  if (root == nullptr) return 0;
  while (root->parent != nullptr) root = root->parent;
  int best = 0;
  std::vector<std::pair<Node*, int>> stack{{root, 1}};
  while (!stack.empty()) {
    auto [node, depth] = stack.back();
    stack.pop_back();
    if (node->left == nullptr && node->right == nullptr) continue;
    best = std::max(best, depth);
    stack.push_back({node->left, depth + 1});
    stack.push_back({node->right, depth + 1});
  }
  return best;
}

// ---- 100k random inserts -------------------------------------------------------------

void MxMapInsert(benchmark::State& state) {
  const String value(kValueText);
  keys();  // made before the clock runs
  for (auto _ : state) {
    auto* map = new MxMap<int, String>;
    for (int key : keys().insertOrder) map->Add(key, value);
    state.PauseTiming();
    delete map;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(MxMapInsert)->Unit(benchmark::kMillisecond);

void StdMapInsert(benchmark::State& state) {
  const std::u16string value(reinterpret_cast<const char16_t*>(kValueText));
  keys();  // made before the clock runs
  for (auto _ : state) {
    auto* map = new StdMap;
    for (int key : keys().insertOrder) map->emplace(key, value);
    state.PauseTiming();
    delete map;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(StdMapInsert)->Unit(benchmark::kMillisecond);

// ---- 100k random lookups -------------------------------------------------------------

void MxMapLookup(benchmark::State& state) {
  MxMap<int, String> map;
  const String value(kValueText);
  for (int key : keys().insertOrder) map.Add(key, value);
  // Measured here, once, not in the insert row: the walk's own allocations would make the
  // heap consolidate the freed nodes between that row's rounds, a cost no std row pays.
  state.counters["height"] = treeHeight(map);
  state.counters["bound"] = 2 * std::log2(kMapEntries + 1.0);
  for (auto _ : state) {
    std::size_t found = 0;
    for (int key : keys().lookupOrder) found += map.LookupPtr(key) != nullptr;
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(MxMapLookup)->Unit(benchmark::kMillisecond);

void StdMapLookup(benchmark::State& state) {
  StdMap map;
  const std::u16string value(reinterpret_cast<const char16_t*>(kValueText));
  for (int key : keys().insertOrder) map.emplace(key, value);
  for (auto _ : state) {
    std::size_t found = 0;
    for (int key : keys().lookupOrder) found += map.find(key) != map.end();
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(StdMapLookup)->Unit(benchmark::kMillisecond);

// ---- 100k random removes -------------------------------------------------------------

void MxMapRemove(benchmark::State& state) {
  const String value(kValueText);
  keys();
  for (auto _ : state) {
    state.PauseTiming();
    auto* map = new MxMap<int, String>;
    for (int key : keys().insertOrder) map->Add(key, value);
    state.ResumeTiming();
    for (int key : keys().lookupOrder) map->Remove(key);
    state.PauseTiming();
    delete map;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(MxMapRemove)->Unit(benchmark::kMillisecond);

void StdMapRemove(benchmark::State& state) {
  const std::u16string value(reinterpret_cast<const char16_t*>(kValueText));
  keys();
  for (auto _ : state) {
    state.PauseTiming();
    auto* map = new StdMap;
    for (int key : keys().insertOrder) map->emplace(key, value);
    state.ResumeTiming();
    for (int key : keys().lookupOrder) map->erase(key);
    state.PauseTiming();
    delete map;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(StdMapRemove)->Unit(benchmark::kMillisecond);

// ---- Two threads on one locked map ---------------------------------------------------
// Each step: a lookup of a shared key; every fourth step also adds and removes a key of the
// thread's own.

constexpr int kSharedKeys = 10000;

SyncMap<int, String>* syncMap = nullptr;
StdMap* guardedMap = nullptr;
std::recursive_mutex guardedMapLock;

void SyncMapTwoThreads(benchmark::State& state) {
  if (state.thread_index() == 0) {
    syncMap = new SyncMap<int, String>;
    for (int k = 0; k < kSharedKeys; ++k) syncMap->Add(k, String(kValueText));
  }
  const String value(kValueText);
  std::mt19937 random(static_cast<unsigned>(state.thread_index()) + 1);
  const int own = (state.thread_index() + 1) * 1000000;
  unsigned step = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(syncMap->LookupPtr(static_cast<int>(random() % kSharedKeys)));
    if (++step % 4 == 0) {
      syncMap->Add(own + static_cast<int>(step % 64), value);
      syncMap->Remove(own + static_cast<int>(step % 64));
    }
  }
  if (state.thread_index() == 0) {
    delete syncMap;
    syncMap = nullptr;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SyncMapTwoThreads)->Threads(2)->UseRealTime();

void StdMapRecursiveMutexTwoThreads(benchmark::State& state) {
  if (state.thread_index() == 0) {
    guardedMap = new StdMap;
    for (int k = 0; k < kSharedKeys; ++k) {
      guardedMap->emplace(k, reinterpret_cast<const char16_t*>(kValueText));
    }
  }
  const std::u16string value(reinterpret_cast<const char16_t*>(kValueText));
  std::mt19937 random(static_cast<unsigned>(state.thread_index()) + 1);
  const int own = (state.thread_index() + 1) * 1000000;
  unsigned step = 0;
  for (auto _ : state) {
    {
      std::lock_guard<std::recursive_mutex> guard(guardedMapLock);
      auto it = guardedMap->find(static_cast<int>(random() % kSharedKeys));
      benchmark::DoNotOptimize(it != guardedMap->end() ? &it->second : nullptr);
    }
    if (++step % 4 == 0) {
      {
        std::lock_guard<std::recursive_mutex> guard(guardedMapLock);
        guardedMap->emplace(own + static_cast<int>(step % 64), value);
      }
      std::lock_guard<std::recursive_mutex> guard(guardedMapLock);
      guardedMap->erase(own + static_cast<int>(step % 64));
    }
  }
  if (state.thread_index() == 0) {
    delete guardedMap;
    guardedMap = nullptr;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(StdMapRecursiveMutexTwoThreads)->Threads(2)->UseRealTime();

// ---- The tree drawing ----------------------------------------------------------------

void MxMapPrintToString(benchmark::State& state) {
  const auto entries = static_cast<int>(state.range(0));
  MxMap<int, String> map;
  std::mt19937 random(7);
  for (int i = 0; i < entries; ++i) map.Add(static_cast<int>(random() % 1000000000), String());
  double units = 0;
  for (auto _ : state) {
    const String picture = map.PrintToString();
    units = picture.GetLength();
    benchmark::DoNotOptimize(picture.toString());
  }
  state.counters["nodes"] = 2.0 * map.GetCount() + 1;
  state.counters["units"] = units;
  state.counters["height"] = treeHeight(map);
  state.counters["ns_per_unit"] =
      benchmark::Counter(units * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(MxMapPrintToString)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// ---- List: 1M appends and a walk -----------------------------------------------------

constexpr int kListItems = 1000000;

void MxListAddTailAndWalk(benchmark::State& state) {
  for (auto _ : state) {
    MxList<int> list;
    for (int i = 0; i < kListItems; ++i) list.AddTail(i);
    long long sum = 0;
    for (int* p = list.GetFirstPtr(); p != nullptr; p = list.GetNextPtr()) sum += *p;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kListItems);
}
BENCHMARK(MxListAddTailAndWalk)->Unit(benchmark::kMillisecond);

void StdListPushBackAndWalk(benchmark::State& state) {
  for (auto _ : state) {
    std::list<int> list;
    for (int i = 0; i < kListItems; ++i) list.push_back(i);
    long long sum = 0;
    for (int v : list) sum += v;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kListItems);
}
BENCHMARK(StdListPushBackAndWalk)->Unit(benchmark::kMillisecond);

// ---- Cold: the first container of its size in a fresh process -----------------------
// The rows above repeat their work and report the warm figure: the heap already holds the
// memory of the previous rounds. These rows do the work once (one iteration; the two-thread
// rows a fixed number of steps), so a run of one of them alone in a fresh process measures
// the first container of its size: fresh heap pages, cold caches. Run each in a process of
// its own, interleaved over several rounds, and compare medians:
//   bench/coldContainers.sh build/bench/bench/mlib_container_bench 21
// Run all together in one process, they measure nothing in particular.

// Inserts and removals: the warm rows' functions once each (their paused set-up and tear-down
// stay outside the clock). The lookups have rows of their own: the warm one walks the whole
// tree for its height before the clock runs, which would warm the caches.
BENCHMARK(MxMapInsert)->Name("ColdMxMapInsert")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(StdMapInsert)->Name("ColdStdMapInsert")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(MxMapRemove)->Name("ColdMxMapRemove")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(StdMapRemove)->Name("ColdStdMapRemove")->Iterations(1)->Unit(benchmark::kMillisecond);

void ColdMxMapLookup(benchmark::State& state) {
  MxMap<int, String> map;
  const String value(kValueText);
  for (int key : keys().insertOrder) map.Add(key, value);
  for (auto _ : state) {
    std::size_t found = 0;
    for (int key : keys().lookupOrder) found += map.LookupPtr(key) != nullptr;
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(ColdMxMapLookup)->Iterations(1)->Unit(benchmark::kMillisecond);

void ColdStdMapLookup(benchmark::State& state) {
  StdMap map;
  const std::u16string value(reinterpret_cast<const char16_t*>(kValueText));
  for (int key : keys().insertOrder) map.emplace(key, value);
  for (auto _ : state) {
    std::size_t found = 0;
    for (int key : keys().lookupOrder) found += map.find(key) != map.end();
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(ColdStdMapLookup)->Iterations(1)->Unit(benchmark::kMillisecond);

constexpr int kColdSteps = 200000;  // per thread
BENCHMARK(SyncMapTwoThreads)
    ->Name("ColdSyncMapTwoThreads")
    ->Threads(2)
    ->Iterations(kColdSteps)
    ->UseRealTime();
BENCHMARK(StdMapRecursiveMutexTwoThreads)
    ->Name("ColdStdMapRecursiveMutexTwoThreads")
    ->Threads(2)
    ->Iterations(kColdSteps)
    ->UseRealTime();

BENCHMARK(MxListAddTailAndWalk)
    ->Name("ColdMxListAddTailAndWalk")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(StdListPushBackAndWalk)
    ->Name("ColdStdListPushBackAndWalk")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
