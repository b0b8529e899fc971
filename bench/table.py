"""Tables of ratios from the JSON of veskaro_bench."""

import collections
import json
import sys


def load(path):
    """By the name of each benchmark: the shortest time in seconds, the shortest wall and CPU times, the pixels. The first
    is CPU time for one thread, which a busy machine disturbs least, and wall time for a team."""
    seconds = {}
    wall = {}
    cpu = {}
    pixels = {}
    with open(path) as file:
        report = json.load(file)
    for run in sorted(report["benchmarks"], key=lambda run: run["family_index"]):  # they ran in any order
        if run.get("run_type") == "aggregate" or run.get("error_occurred"):
            continue
        name = run["name"].split("/iterations")[0]
        is_team = name.startswith("call/") and name.split("/")[5] != "1"
        time = run["real_time" if is_team else "cpu_time"] / 1000
        seconds[name] = min(time, seconds.get(name, time))
        wall[name] = min(run["real_time"] / 1000, wall.get(name, float("inf")))
        cpu[name] = min(run["cpu_time"] / 1000, cpu.get(name, float("inf")))
        pixels[name] = run["pixels"]
    return seconds, wall, cpu, pixels


def table(heads, rows):
    print("| " + " | ".join(heads) + " |")
    print("|---" + "|---:" * (len(heads) - 1) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")
    print()


def by_target(seconds, prefix):
    """What comes before the target in every name below prefix, with the seconds of each target, in order."""
    groups = collections.OrderedDict()
    for name, value in seconds.items():
        if name.startswith(prefix):
            group, target = name.rsplit("/", 1)
            groups.setdefault(group, {})[target] = value
    return groups


def rate(pixels, seconds):
    value = pixels / seconds / 1e6
    return f"{value:.2f}" if value < 10 else f"{value:.1f}"


def settings(group):
    _, size, bits, unit, noise, threads = group.split("/")
    return size, bits, unit, noise, threads


def describe(group, common):
    size, bits, unit, noise, threads = settings(group)
    middle = "" if common else f", unit {unit}, {noise} noise"
    return f"{size}, {bits} bits{middle}, {threads} thread{'' if threads == '1' else 's'}"


def print_kernels(kernels, pixels, vectors):
    print("Steps, one thread: MP/s of the plain code, and how many times faster each instruction set is.\n")
    table(["step", "plain", *vectors],
          [[group.split("/")[1], rate(pixels[group + "/plain"], times["plain"]),
            *(f"{times['plain'] / times[target]:.1f}x" for target in vectors)] for group, times in kernels.items()])


def print_calls(calls, pixels, vectors):
    on_all = {group: times for group, times in calls.items() if len(times) == len(vectors) + 1}
    print("Whole calls, unit tile 256, the photograph as it is: MP/s, and times the plain code.\n")
    table(["call", "plain", *vectors],
          [[describe(group, True), rate(pixels[group + "/plain"], times["plain"]),
            *(f"{rate(pixels[group + '/plain'], times[t])} ({times['plain'] / times[t]:.1f}x)" for t in vectors)]
           for group, times in on_all.items()])

    if len(on_all) == len(calls):
        return
    print("Whole calls at other settings: MP/s, and times the plain code.\n")
    best = vectors[-1]
    table(["call", "plain", best, "ratio"],
          [[describe(group, False), rate(pixels[f"{group}/{best}"], times["plain"]) if "plain" in times else "",
            rate(pixels[f"{group}/{best}"], times[best]),
            f"{times['plain'] / times[best]:.1f}x" if "plain" in times else ""]
           for group, times in calls.items() if group not in on_all])


def print_stages(stages, pixels, vectors):
    print("Filtering with the settings that the noise gives, one thread: MP/s, and the share of the classic speed.\n")
    classic = stages["stages/classic"]
    table(["settings", *vectors],
          [[group.split("/")[1], *(f"{rate(pixels[f'{group}/{t}'], times[t])} ({classic[t] / times[t]:.2f})"
                                   for t in vectors)] for group, times in stages.items()])


def print_teams(times, vectors, is_cpu, title):
    groups = by_target(times, "call/")
    rows = []
    for group, team in groups.items():
        alone = groups.get(group.rsplit("/", 1)[0] + "/1")
        if settings(group)[4] != "1" and alone and len(team) == len(vectors) + 1:
            n = int(settings(group)[4]) if is_cpu else 1
            rows.append([describe(group, True), *(f"{n * alone[t] / team[t]:.2f}x" for t in ("plain", *vectors))])
    if rows:
        print(f"A team against one thread: {title}.\n")
        table(["call", "plain", *vectors], rows)


def print_measuring_share(kernels, calls_cpu, pixels, best):
    """Measuring comes before the first tile; the team shares it."""
    per_pixel = kernels["kernel/measuring"][best] / pixels[f"kernel/measuring/{best}"]
    for group, times in calls_cpu.items():
        threads = int(settings(group)[4])
        if len(times) > 2 and threads > 1:
            share = per_pixel * pixels[f"{group}/{best}"] / (times[best] / threads)
            print(f"Measuring takes {100 * share:.1f} % of the call: {describe(group, True)}.\n")


def print_row_steps(rows, operations, vectors):
    """How near the steps on a row come to what the vector units do when nothing else holds them up."""
    limit = {t: operations[f"row/units/{t}"] / rows["row/units"][t] for t in vectors if t in rows.get("row/units", {})}
    if not limit:
        return
    print("Steps on rows at hand: share of the vector units' limit.\n")
    table(["step", *limit],
          [[group.split("/")[1], *(f"{operations[f'{group}/{t}'] / times[t] / limit[t]:.0%}" for t in limit)]
           for group, times in rows.items() if group != "row/units"])


def bytes_moved(path):
    """By the name of each benchmark that states it: the bytes to read and write at the least."""
    with open(path) as file:
        return {run["name"].split("/iterations")[0]: run["bytes"] for run in json.load(file)["benchmarks"]
                if "bytes" in run and run.get("run_type") != "aggregate"}


def print_hdr(hdr, pixels, moved, vectors):
    best = vectors[-1]
    copy = moved.get(f"hdr/copy of the picture/{best}")
    speed = copy / hdr["hdr/copy of the picture"][best] if copy else None
    print("denoise1, one thread: MP/s, times the plain code, and with the widest vectors the\n"
          "share of the speed at which a copy reads and writes memory.\n")
    rows = []
    for group, times in hdr.items():
        if group == "hdr/copy of the picture" or "plain" not in times or best not in times:
            continue
        n = pixels[group + "/plain"]
        share = f"{moved[f'{group}/{best}'] / times[best] / speed:.0%}" if speed and "line" not in group else ""
        rows.append([group.split("/")[1], rate(n, times["plain"]),
                     *(f"{rate(n, times[t])} ({times['plain'] / times[t]:.1f}x)" for t in vectors), share])
    table(["call", "plain", *vectors, "of memory"], rows)


def main():
    seconds, wall, cpu, pixels = load(sys.argv[1])
    hdr = by_target(seconds, "hdr/")
    kernels = by_target(seconds, "kernel/")
    calls = by_target(seconds, "call/")
    order = ["SSSE3", "SSE4", "AVX2", "AVX3", "AVX3_DL"]
    found = {target for group in (*kernels.values(), *calls.values(), *hdr.values(),
                                   *by_target(seconds, "row/").values(),
                                   *by_target(seconds, "stages/").values()) for target in group}
    vectors = [target for target in order if target in found]
    if not vectors:
        sys.exit("nothing to compare: no vectors on this machine, or not in what was run")
    if kernels:
        print_kernels(kernels, pixels, vectors)
    print_row_steps(by_target(seconds, "row/"), pixels, vectors)
    if hdr:
        print_hdr(hdr, pixels, bytes_moved(sys.argv[1]), vectors)
    if calls:
        print_calls(calls, pixels, vectors)
        print_teams(wall, vectors, False, "wall time, which other work on the machine lengthens")
        print_teams(cpu, vectors, True, "what the CPU time of both allows when every thread has a core to itself")
    stages = by_target(seconds, "stages/")
    if "stages/classic" in stages:
        print_stages(stages, pixels, vectors)
    if calls and "kernel/measuring" in kernels:
        print_measuring_share(kernels, by_target(cpu, "call/"), pixels, vectors[-1])


if __name__ == "__main__":
    main()
