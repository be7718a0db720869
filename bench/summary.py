#!/usr/bin/env python3
"""One table of every benchmark pair: mlib against the usual alternative, measured in the same
run of the same program. Ratio = the alternative's time / mlib's (above 1: mlib is faster).
Where a row has several alternatives (ICU and iconv, say), the fastest of them is the one
compared. Each pair runs in a process of its own, its rows interleaved, so that both sides
meet the same heap and caches, not what other rows left behind. Ends with the geometric mean
of all ratios.

usage: summary.py BENCH_DIR [--repetitions N] [--json-dir DIR] [--reuse]
  BENCH_DIR   folder holding the mlib_*_bench programs (build/bench/bench)
  --json-dir  where each program's JSON goes (default: a temporary folder)
  --reuse     read the JSON already in --json-dir instead of running the programs; pairs
              without one there run (delete a pair's file to measure it again)
"""
import argparse
import json
import math
import os
import re
import subprocess
import sys
import tempfile

# (program, mlib's benchmark, [alternatives], clock). Clock "cpu" for single-threaded work,
# "real" where the work spans threads or waits on the system (files, two-thread lookups).
SIZES = ("16", "1024", "1048576")
PAIRS = []


def pair(program, ours, alternatives, clock="cpu"):
    PAIRS.append((program, ours, list(alternatives), clock))


for name in ("ascii1252", "western1252", "chinese936"):
    pair("text", f"ansiToWide/{name}", [f"icuToWide/{name}", f"iconvToWide/{name}"])
    pair("text", f"wideToAnsi/{name}", [f"icuFromWide/{name}", f"iconvFromWide/{name}"])
    pair("text", f"utf8ToWide/{name}", [f"icuFromUtf8/{name}"])
    pair("text", f"wideToUtf8/{name}", [f"icuToUtf8/{name}"])
pair("text", "wideToUtf8/mixed", ["icuToUtf8/mixed"])
for page, icu932 in (("ansi932_japanese", ("windows932", "ibm943")), ("ansi949_korean", ()),
                     ("ansi950_chinese", ()), ("ansi1251_cyrillic", ()), ("ansi65001_mixed", ())):
    suffixes = [f"_{s}" for s in icu932] or [""]
    pair("codePage", f"mlibAnsiToWide/{page}",
         [f"iconvAnsiToWide/{page}"] + [f"icuAnsiToWide/{page}{s}" for s in suffixes])
    pair("codePage", f"mlibWideToAnsi/{page}",
         [f"iconvWideToAnsi/{page}"] + [f"icuWideToAnsi/{page}{s}" for s in suffixes])
for text in ("western", "chinese"):
    pair("codePage", f"mlibToWideSize/utf8_{text}", [f"icuFromUtf8Size/utf8_{text}"])
    pair("codePage", f"mlibFromWideSize/utf8_{text}", [f"icuToUtf8Size/utf8_{text}"])
pair("text", "hashNarrow<GetStringHashCode>", ["hashStd"])
for order in ("random", "few_values", "ascending", "descending", "all_equal"):
    pair("text", f"sortQuickSort/{order}", [f"sortStdSort/{order}"])
# std::u16string has no code page, so text from the ANSI page is compared with ICU's
# conversion only; ICU's copy shares the buffer instead of copying, so copies are compared with
# std::u16string only.
for work, alternatives in (("ConstructAnsi", ("icu",)), ("ConstructWide", ("u16string", "icu")),
                           ("Copy", ("u16string",)), ("Plus", ("u16string", "icu")),
                           ("AppendInPlace", ("u16string", "icu"))):
    for size in SIZES:
        pair("string", f"{work}_mlib/{size}", [f"{work}_{a}/{size}" for a in alternatives])
pair("string", "Format_mlib", ["Format_swprintf"])
for run in ("0/0", "65536/6250", "1048576/100000"):
    pair("string", f"Replace_mlib/{run}", [f"Replace_u16string_resume/{run}"])
for length in ("5", "20"):
    pair("stringSearch", f"MlibFind/{length}", [f"StdU16Find/{length}", f"IcuIndexOf/{length}"])
for size in ("65536", "262144", "524288"):
    pair("stringSearch", f"MlibReplace/{size}",
         [f"StdU16ReplaceLoop/{size}", f"IcuFindAndReplace/{size}"])
pair("byte", "ByteAppendReserved", ["VectorInsertReserved"])
pair("byte", "ByteAppendOnly", ["VectorInsertOnly"])
pair("byte", "StringByteDataToHex", ["TableLoopBytesToHex"])
pair("byte", "StringHexToByteData", ["TableLoopHexToBytes"])
pair("container", "MxMapInsert", ["StdMapInsert"])
pair("container", "MxMapLookup", ["StdMapLookup"])
pair("container", "MxMapRemove", ["StdMapRemove"])
pair("container", "MxListAddTailAndWalk", ["StdListPushBackAndWalk"])
pair("container", "SyncMapTwoThreads/real_time/threads:2",
     ["StdMapRecursiveMutexTwoThreads/real_time/threads:2"], "real")
pair("file", "AsyncFileRead64K", ["PreadRead64K"], "real")
pair("file", "AsyncFileWrite64K", ["PwriteWrite64K"], "real")
pair("file", "AsyncFileWholeRead", ["IfstreamWholeRead"], "real")
# Texts the conversions' vector paths serve least well (accents or Chinese characters far
# apart), kept last so that earlier pairs keep their numbers in a --json-dir.
pair("text", "utf8ToWide/sparse1252", ["icuFromUtf8/sparse1252"])
pair("text", "ansiToWide/sparse936", ["icuToWide/sparse936", "iconvToWide/sparse936"])


def run_pair(bench_dir, program, names, json_path, repetitions):
    path = os.path.join(bench_dir, f"mlib_{program}_bench")
    only = "^(" + "|".join(re.escape(name) for name in names) + ")$"
    subprocess.run([path, f"--benchmark_filter={only}", f"--benchmark_repetitions={repetitions}",
                    "--benchmark_report_aggregates_only=true",
                    "--benchmark_enable_random_interleaving=true",
                    f"--benchmark_out={json_path}", "--benchmark_out_format=json"],
                   check=True, stdout=subprocess.DEVNULL)


def medians(json_path):
    with open(json_path) as file:
        report = json.load(file)
    times = {}
    for entry in report["benchmarks"]:
        # One repetition reports the run itself; several report their median.
        if entry.get("aggregate_name", "median") == "median":
            times[entry["run_name"]] = (entry["cpu_time"], entry["real_time"], entry["time_unit"])
    return times


def in_ns(value, unit):
    return value * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[unit]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bench_dir")
    parser.add_argument("--repetitions", type=int, default=3)
    parser.add_argument("--json-dir")
    parser.add_argument("--reuse", action="store_true")
    args = parser.parse_args()
    json_dir = args.json_dir or tempfile.mkdtemp(prefix="mlib-bench-")
    os.makedirs(json_dir, exist_ok=True)

    print("| Program | mlib | fastest alternative | mlib time | its time | ratio |")
    print("|---|---|---|---|---|---|")
    logs = []
    for number, (program, ours, alternatives, clock) in enumerate(PAIRS):
        json_path = os.path.join(json_dir, f"pair{number:03}.json")
        if not (args.reuse and os.path.exists(json_path)):
            print(f"mlib_{program}_bench: {ours}", file=sys.stderr)
            run_pair(args.bench_dir, program, [ours] + alternatives, json_path, args.repetitions)
        table = medians(json_path)
        missing = [name for name in [ours] + alternatives if name not in table]
        if missing:
            sys.exit(f"{program}: no result for {', '.join(missing)}")
        index = 0 if clock == "cpu" else 1

        def time_of(name):
            return in_ns(table[name][index], table[name][2])

        best = min(alternatives, key=time_of)
        ratio = time_of(best) / time_of(ours)
        logs.append(math.log(ratio))
        print(f"| {program} | `{ours}` | `{best}` | {time_of(ours) / 1e3:.3f} µs "
              f"| {time_of(best) / 1e3:.3f} µs | {ratio:.2f} |")
    print(f"\n{len(logs)} pairs, geometric mean of the ratios: "
          f"{math.exp(sum(logs) / len(logs)):.2f} (CPU medians; real time where marked in "
          f"bench/summary.py), JSON in {json_dir}")


if __name__ == "__main__":
    main()
