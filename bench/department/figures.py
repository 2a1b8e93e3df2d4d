#!/usr/bin/python3
"""Makes the figures of kept runs the tables and the picture that bench/README.md shows:

    bench/department/figures.py RESULTS...     files of bench/department/run --results
"""

import json
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
README, PICTURE = HERE.parent / "README.md", HERE.parent / "department.png"
MARKS = ("<!-- the tables of bench/department/figures.py -->\n", "<!-- end of the tables -->\n")
MOST_LINES = 10  # of a list
SERVER = {"PostgreSQL": ("postgres",), "MariaDB Galera": ("mariadbd", "haproxy")}
SHOWN = ("open", "reopen", "search", "save", "approve", "print")
COLOURS = {"PostgreSQL": "#0b6e4f", "MariaDB Galera": "#c1440e"}


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, len(ordered) * share // 100)] if ordered else 0


def digits(number):
    return f"{number:,.0f}" if number >= 999.5 else f"{number:.3g}"


def a_second(go):
    return sum(each["count"] for each in go["actions"].values()) / go["seconds"]


# While a run goes on

def print_list(title, lines):
    if lines:
        print(f"{title}: {len(lines)}")
        for line in lines[:MOST_LINES]:
            print(f"  {line}")


def print_go(go):
    pace = f"a visit in {go['visit']:g} s" if go["visit"] else "as fast as they can"
    print(f"{go['desks']} desks, {pace}: {digits(a_second(go))} actions a second, {digits(go['late'])} ms late (99 %), "
          f"{len(go['errors'])} errors")
    for what, times in go["actions"].items():
        print(f"  {what:<8} {times['count']:>6}  median {digits(times['median'])} ms, 99 % {digits(times['p99'])} ms")
    for title, unit in (("processor", "cores"), ("waits", "sessions")):
        most = sorted(go[title].items(), key=lambda each: -each[1])[:6]
        print(f"  {title} ({unit}): " + ", ".join(f"{what} {digits(much)}" for what, much in most))
    print("  " + ", ".join(f"{what} {digits(much / go['seconds'])} a second" for what, much in go["counters"].items()),
          flush=True)


# Of kept runs

def table(columns, rows):
    lines = [columns, ("---",) * len(columns), *rows]
    return "".join(f"| {' | '.join(map(str, line))} |\n" for line in lines)


def both(go, *what):
    """Median and 99 % of an action; of several the one that is most of them."""
    times = [go["actions"][each] for each in what if each in go["actions"]]
    if not times:
        return ""
    most = max(times, key=lambda each: each["count"])
    return f"{digits(most['median'])} / {digits(most['p99'])}"


def cores(results, go):
    server = sum(go["processor"].get(program, 0) for program in SERVER[results["catalogue"]])
    return " / ".join(f"{share:.2f}" for share in (server, go["processor"].get("porvane", 0),
                                                   go["processor"].get("bench_desk", 0)))


def load_table(results, goes):
    columns = ("desks", "actions a second", *(f"{what}, ms" for what in SHOWN), "late, ms", "errors", "lost",
               "cores: server / services / desks", "disk syncs a second")
    return table(columns, [
        (go["desks"], digits(a_second(go)), *(both(go, what) for what in SHOWN), digits(go["late"]), len(go["errors"]),
         go["lost"], cores(results, go), digits(go["counters"].get("syncs of the disk", 0) / go["seconds"]))
        for go in goes])


def waits_table(goes):
    names = sorted({what for go in goes for what in go["waits"]},
                   key=lambda what: -sum(go["waits"].get(what, 0) for go in goes))[:6]
    return table(("desks", *names), [(go["desks"], *(digits(go["waits"].get(name, 0)) for name in names))
                                     for go in goes])


def tables(results):
    paced = [go for go in results["goes"] if go["visit"] and not go["killed"]]
    fast = [go for go in results["goes"] if not go["visit"]]
    killed = [go for go in results["goes"] if go["killed"]]
    text = f"### {results['catalogue']}\n\n" if paced or fast else ""
    if paced:
        pressed = 180 / paced[0]["visit"]
        text += f"Paced, the day pressed together {pressed:g} times (median / 99 %):\n\n{load_table(results, paced)}\n"
    if fast:
        text += f"As fast as they can (median / 99 %):\n\n{load_table(results, fast)}\n"
        text += ("What the database's sessions wait for meanwhile, of those that have something to do (how many at a "
                 f"look):\n\n{waits_table(fast)}\n")
    for go in killed:
        text += (f"{results['catalogue']}, {go['desks']} desks, the day pressed together {180 / go['visit']:g} times, "
                 f"the node that serves killed after {go['killed']:.0f} of {go['seconds']:.0f} s:\n\n"
                 f"{load_table(results, [go])}\n")
        words = {}
        for error in go["errors"]:
            _, action, told = (part.strip() for part in error.replace(":", ",", 1).split(",", 2))
            words.setdefault(action, []).append(told)
        text += (table(("while", "told", "the first of them"), [
            (action, len(told), told[0].replace("|", "/")) for action, told in words.items()])
            if words else "Nobody was shown a message.\n") + "\n"
    return text


def draw(all_results):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(2, 2, figsize=(11, 8))
    panels = (
        (axes[0][0], "As fast as they can: actions a second", False, (("", a_second, "-"),)),
        (axes[0][1], "As fast as they can: a save, milliseconds", False,
         (("median", lambda go: go["actions"]["save"]["median"], "-"),
          ("99 %", lambda go: go["actions"]["save"]["p99"], "--"))),
        (axes[1][0], "Paced: a save, milliseconds", True,
         (("median", lambda go: go["actions"]["save"]["median"], "-"),
          ("99 %", lambda go: go["actions"]["save"]["p99"], "--"))),
        (axes[1][1], "Paced: a searched code, milliseconds", True,
         (("median", lambda go: go["actions"]["search"]["median"], "-"),
          ("99 %", lambda go: go["actions"]["search"]["p99"], "--"))),
    )
    for axis, title, paced, curves in panels:
        for results in all_results:
            goes = [go for go in results["goes"] if bool(go["visit"]) == paced and not go["killed"]]
            for name, figure_of, style in curves if goes else ():
                axis.plot([go["desks"] for go in goes], [figure_of(go) for go in goes], style, marker="o",
                          label=f"{results['catalogue']} {name}".strip(), color=COLOURS[results["catalogue"]])
        desks = sorted({go["desks"] for results in all_results for go in results["goes"]})
        axis.set(title=title, xlabel="desks", xscale="log", ylim=(0, None))
        axis.set_xticks(desks, map(str, desks))
        axis.minorticks_off()
        axis.grid(color="#dddddd")
        axis.legend()
    figure.tight_layout()
    figure.savefig(PICTURE, dpi=80)


def merged(all_results):
    """One for each catalogue, with the goes of all its files."""
    by_catalogue = {}
    for results in all_results:
        goes = by_catalogue.setdefault(results["catalogue"], {**results, "goes": []})["goes"]
        known = {(go["desks"], go["visit"]) for go in goes}
        goes += [go for go in results["goes"] if go["killed"] or (go["desks"], go["visit"]) not in known]
    return list(by_catalogue.values())


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    all_results = merged(json.loads(pathlib.Path(file).read_text()) for file in sys.argv[1:])
    before, rest = README.read_text().split(MARKS[0])
    _, after = rest.split(MARKS[1])
    README.write_text(before + MARKS[0] + "\n".join(map(tables, all_results)) + MARKS[1] + after)
    draw(all_results)


if __name__ == "__main__":
    main()
