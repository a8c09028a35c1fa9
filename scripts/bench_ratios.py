"""Prints each benchmark case as ratios to the yardsticks of its group."""
import json
import statistics
import sys
from collections import defaultdict


def main(path):
    with open(path) as f:
        runs = [b for b in json.load(f)["benchmarks"] if b.get("run_type", "iteration") == "iteration"]
    # A case that failed (a peer whose picture did not match, say) has no
    # time to compare; its error was printed with the run.
    failed = sorted({b.get("run_name", b["name"]) for b in runs if b.get("error_occurred")})
    runs = [b for b in runs if not b.get("error_occurred")]
    # With --benchmark_repetitions each case appears once a repetition; its
    # median is steadier than any one run on a shared machine.
    times = defaultdict(list)
    for b in runs:
        times[b.get("run_name", b["name"])].append(b["real_time"])
    groups = defaultdict(dict)
    for name, ts in times.items():
        group, _, case = name.partition("/")
        groups[group][case] = statistics.median(ts)
    for name in failed:
        print(f"{name}: failed, left out")
    for group, cases in sorted(groups.items()):
        yardsticks = {c: t for c, t in cases.items() if c.startswith("yardstick_")}
        print(f"{group}:")
        if not yardsticks:
            print("  (no yardstick in this group)")
        for case, t in sorted(cases.items()):
            if case in yardsticks:
                continue
            ratios = ", ".join(f"{t / y:6.2f} x {name[len('yardstick_'):]}" for name, y in sorted(yardsticks.items()))
            print(f"  {case:50s} {ratios}")


if __name__ == "__main__":
    main(sys.argv[1])
