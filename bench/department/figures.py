"""The department's figures as tables and plots."""

MOST_LINES = 10  # of a list


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, len(ordered) * share // 100)] if ordered else 0


def digits(number):
    return f"{number:,.0f}" if number >= 1000 else f"{number:.3g}"


def a_second(go):
    return sum(each["count"] for each in go["actions"].values()) / go["seconds"]


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
