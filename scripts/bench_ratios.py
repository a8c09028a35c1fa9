"""Prints each benchmark case as ratios to the yardsticks of its group."""
import json
import statistics
import sys
from collections import defaultdict


def main(path):
    with open(path) as f:
        runs = [b for b in json.load(f)["benchmarks"] if b.get("run_type", "iteration") == "iteration"]
    # With --benchmark_repetitions each case appears once a repetition; its
    # median is steadier than any one run on a shared machine.
    times = defaultdict(list)
    for b in runs:
        times[b.get("run_name", b["name"])].append(b["real_time"])
    groups = defaultdict(dict)
    for name, ts in times.items():
        group, _, case = name.partition("/")
        groups[group][case] = statistics.median(ts)
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
