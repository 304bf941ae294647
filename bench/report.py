#!/usr/bin/env python3
"""report.py RESULTS.json...: prints the results as Markdown tables and, with --chart FILE, draws the ratios as SVG.

Each benchmark is taken at its fastest repetition, in seconds of the processor. The ratio is to the bare calls, or to the
other library where no call is made.
"""
import argparse
import json

REFERENCES = ("bare", "copy", "icu", "glib")


def read(files):
    """{(operation, size): {contestant: nanoseconds}}, in the order of the files."""
    results = {}
    for file in files:
        for run in json.load(file)["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            operation, contestant, *rest = run["name"].removeprefix("BM_").split("/")
            size = next((part for part in rest if part.isdigit()), "")
            time = run["cpu"] * 1e9 if "cpu" in run else run["cpu_time"]
            contestants = results.setdefault((operation, size), {})
            contestants[contestant] = min(time, contestants.get(contestant, time))
    return results


def readable(nanoseconds):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds:.0f} ns"


def rows(results):
    """Yields (title, layer, ratio, [(contestant, time, ratio)])."""
    for (operation, size), times in sorted(results.items(), key=lambda item: (item[0][0], int(item[0][1] or 0))):
        reference = next((times[name] for name in REFERENCES if name in times), None)
        others = [(name, time, time / reference) for name, time in times.items() if name != "layer"]
        layer = times["layer"]
        yield f"{operation} {size}".strip(), layer, layer / reference if reference else None, sorted(
            others, key=lambda other: other[2]
        )


def table(results):
    print("| operation | this layer | ratio | beside it |\n|---|---:|---:|---|")
    for title, layer, ratio, others in rows(results):
        beside = ", ".join(f"{name} {readable(time)} ({factor:.2f})" for name, time, factor in others)
        print(f"| {title} | {readable(layer)} | {f'{ratio:.2f}' if ratio else ''} | {beside} |")


def chart(results, file):
    height, left, width, limit = 22, 230, 560, 3.0
    shown = [row for row in rows(results) if row[2]]
    scale = width / limit
    svg = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 60}" height="{height * (len(shown) + 2)}" '
        'font-family="sans-serif" font-size="12"><rect width="100%" height="100%" fill="white"/>'
    ]
    for index, (title, _, ratio, others) in enumerate(shown):
        y = height * (index + 1)
        svg.append(f'<text x="{left - 8}" y="{y + 10}" text-anchor="end">{title}</text>')
        svg.append(f'<rect x="{left}" y="{y}" width="{min(ratio, limit) * scale:.0f}" height="12" fill="#3b6ea5"/>')
        for name, _, factor in others:
            x = left + min(factor, limit) * scale
            svg.append(f'<circle cx="{x:.0f}" cy="{y + 6}" r="4" fill="#d9822b"><title>{name} {factor:.2f}</title></circle>')
    bottom = height * (len(shown) + 1)
    for mark in (0, 1, 2, 3):
        x = left + mark * scale
        svg.append(f'<line x1="{x:.0f}" x2="{x:.0f}" y1="{height // 2}" y2="{bottom}" stroke="#bbb"/>')
        svg.append(f'<text x="{x:.0f}" y="{bottom + 14}" text-anchor="middle">{mark}</text>')
    svg.append("</svg>\n")
    file.write("\n".join(svg))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", nargs="+", type=argparse.FileType())
    parser.add_argument("--chart", type=argparse.FileType("w"))
    options = parser.parse_args()
    results = read(options.results)
    table(results)
    if options.chart:
        chart(results, options.chart)


if __name__ == "__main__":
    main()
