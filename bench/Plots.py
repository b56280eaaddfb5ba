"""Plots as SVG, drawn by hand: text that every browser shows, without a library."""
import html
import math

COLOURS = {"linux": "#1b6ca8", "windows": "#c4572b"}
STYLE = "text { font: 12px sans-serif; fill: #222 }"
# The numbers of bars stand in a column of their own, which ends so far from the right edge.
NUMBERS = 8


def text(x, y, words, anchor="start"):
    return f"<text x='{x:.1f}' y='{y:.1f}' text-anchor='{anchor}'>{html.escape(words)}</text>"


def line(x1, y1, x2, y2, colour="#ccc", extra=""):
    return f"<line x1='{x1:.1f}' y1='{y1:.1f}' x2='{x2:.1f}' y2='{y2:.1f}' stroke='{colour}' {extra}/>"


def svg(width, height, parts):
    return (f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {width} {height}' width='{width}' height='{height}'>\n"
            f"<style>{STYLE}</style>\n<rect width='{width}' height='{height}' fill='white'/>\n" + "\n".join(parts) + "\n</svg>\n")


def legend(targets, x, y):
    parts = []
    for i, target in enumerate(targets):
        parts.append(f"<rect x='{x + 90 * i}' y='{y - 10}' width='12' height='12' fill='{COLOURS[target]}'/>")
        parts.append(text(x + 90 * i + 17, y, target))
    return parts


def budgets(rows):
    """How much of its budget each figure takes, on a logarithmic scale from a tenth to the largest."""
    titles = [row.title for row in next(iter(rows.values())) if row.figure.budget is not None]
    shares = {target: {row.title: row.share_of_budget for row in list_} for target, list_ in rows.items()}
    largest = max([2.0] + [s for of in shares.values() for s in of.values() if s])
    left, right, top, height = 430, 50, 50, 34
    width = 1000
    decades = math.log10(largest) + 1

    def x(share):
        return left + (width - left - right) * (math.log10(max(share, 0.1)) + 1) / decades

    bottom = top + height * len(titles)
    parts = [text(left, 20, "share of the budget that is used; 1 is all of it"), *legend(rows, left, 40)]
    for tick in (0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100):
        if tick <= largest:
            parts.append(line(x(tick), top, x(tick), bottom, "#222" if tick == 1 else "#ddd"))
            parts.append(text(x(tick), bottom + 16, f"{tick:g}", "middle"))
    for i, title in enumerate(titles):
        y = top + height * i
        parts.append(text(left - 8, y + 20, title.split(", growth over")[0], "end"))
        for j, target in enumerate(rows):
            share = shares[target].get(title)
            if share is not None:
                parts.append(f"<rect x='{left}' y='{y + 5 + 12 * j}' width='{max(x(share) - left, 1):.1f}' height='11' "
                             f"fill='{COLOURS[target]}'/>")
                parts.append(text(width - NUMBERS, y + 15 + 12 * j, f"{share:.2f}", "end"))
    return svg(width, bottom + 30, parts)


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{max(nanoseconds, 0):.0f} ns"


def added(rows):
    """What the module adds to a camera's time: rows of (title, {target: nanoseconds}), from a nanosecond on."""
    targets = list(rows[0][1])
    left, right, top, height, width = 330, 80, 50, 40, 900
    image = 1e9 / 30
    decades = math.ceil(math.log10(image))

    def x(nanoseconds):
        return left + (width - left - right) * math.log10(max(nanoseconds, 1)) / decades

    bottom = top + height * len(rows)
    parts = [text(left, 20, "time that the module adds; on the right, what a camera has for an image at 30 a second"),
             *legend(targets, left, 40)]
    for decade in range(decades + 1):
        parts += [line(x(10**decade), top, x(10**decade), bottom, "#ddd"),
                  text(x(10**decade), bottom + 16, duration(10**decade), "middle")]
    parts.append(line(x(image), top, x(image), bottom, "#222"))
    for i, (title, values) in enumerate(rows):
        y = top + height * i
        parts.append(text(left - 8, y + 24, title, "end"))
        for j, target in enumerate(targets):
            if (value := values.get(target)) is not None:
                parts += [f"<rect x='{left}' y='{y + 7 + 13 * j}' width='{max(x(value) - left, 1):.1f}' height='12' "
                          f"fill='{COLOURS[target]}'/>", text(width - NUMBERS, y + 17 + 13 * j, duration(value), "end")]
    return svg(width, bottom + 30, parts)


class Axes:
    """A frame with labelled axes, from points to pixels."""

    def __init__(self, title, label_x, label_y, ticks_x, ticks_y, is_logarithmic):
        self.box = (80, 60, 760, 360)
        self.log = is_logarithmic
        self.range_x = (ticks_x[0][0], ticks_x[-1][0])
        self.range_y = (ticks_y[0][0], ticks_y[-1][0])
        x0, y0, x1, y1 = self.box
        self.parts = [text(x0, 20, title), text((x0 + x1) / 2, y1 + 40, label_x, "middle"), text(10, y0 - 10, label_y)]
        for value, label in ticks_x:
            self.parts += [line(self.x(value), y0, self.x(value), y1), text(self.x(value), y1 + 18, label, "middle")]
        for value, label in ticks_y:
            self.parts += [line(x0, self.y(value), x1, self.y(value)), text(x0 - 6, self.y(value) + 4, label, "end")]

    def share(self, value, bounds):
        low, high = bounds
        if self.log:
            value, low, high = (math.log10(number) for number in (value, low, high))
        return (value - low) / (high - low)

    def x(self, value):
        return self.box[0] + (self.box[2] - self.box[0]) * self.share(value, self.range_x)

    def y(self, value):
        return self.box[3] - (self.box[3] - self.box[1]) * self.share(value, self.range_y)

    def curve(self, points, colour, extra=""):
        path = " ".join(f"{self.x(x):.1f},{self.y(y):.1f}" for x, y in points)
        self.parts.append(f"<polyline points='{path}' fill='none' stroke='{colour}' stroke-width='2' {extra}/>")

    def svg(self):
        return svg(800, 420, self.parts)


def lists(all_results):
    counts = (100, 1000, 10000)
    decades = [(10.0**p, f"{10.0**p:g}") for p in range(-2, 4)]
    axes = Axes("milliseconds of an update of an unchanged device list; dashed: the bare calls of the camera library",
                "devices", "ms", [(c, f"{c:,}") for c in counts], decades, True)
    axes.parts += legend([r.target for r in all_results], 80, 40)
    for results in all_results:
        for side, extra in (("module", ""), ("floor", "stroke-dasharray='5,4'")):
            times = [results.value(f"same_list_{count}/{side}", "real_time") for count in counts]
            axes.curve([(c, t / 1e6) for c, t in zip(counts, times)], COLOURS[results.target], extra)
    return axes.svg()


def memory(all_results):
    curves = {r.target: [kib / 1024 for kib in r.samples("memory/module", "kib_")] for r in all_results}
    top = max(max(curve) for curve in curves.values()) * 1.2
    frames = max(r.value("memory/module", "frames") for r in all_results)
    axes = Axes("resident memory while frames are taken", "frames", "MiB",
                [(frames * i / 5, f"{frames * i / 5:,.0f}") for i in range(6)],
                [(top * i / 5, f"{top * i / 5:.0f}") for i in range(6)], False)
    axes.parts += legend(curves, 80, 40)
    for target, curve in curves.items():
        axes.curve([(frames * i / (len(curve) - 1), mib) for i, mib in enumerate(curve)], COLOURS[target])
    return axes.svg()


def growth(all_results, kind, counts, title, label, sides):
    """Time of an image over a number of things; dashed where the camera library is asked alone."""
    curves = [([r.value(f"{kind}_{count}/{side}", "real_time") for count in counts], COLOURS[r.target], extra)
              for r in all_results for side, extra in sides]
    highest = max(max(times) for times, _, _ in curves)
    decades = [(10.0**p, duration(10.0**p)) for p in range(2, math.ceil(math.log10(highest)) + 1)]
    axes = Axes(title, label, "", [(c, f"{c:,}") for c in counts], decades, True)
    axes.parts += legend([r.target for r in all_results], 80, 40)
    for times, colour, extra in curves:
        axes.curve(list(zip(counts, times)), colour, extra)
    return axes.svg()


def all_plots(all_results, rows, lead):
    solid, dashed = ("module", ""), ("floor", "stroke-dasharray='5,4'")
    return {"added": added(lead),
            "cameras": growth(all_results, "cameras", (1, 4, 16, 64, 256),
                              "time of an image that one of so many cameras makes; dashed: without the module", "cameras",
                              (solid, dashed)),
            "buffers": growth(all_results, "buffers", (2, 16, 1024), "time of an image, with so many buffers", "buffers",
                              (solid,)),
            "budgets": budgets(rows), "lists": lists(all_results), "memory": memory(all_results)}
