"""The figures: which benchmarks they are made of, how they are compared, and their budgets."""
import dataclasses


@dataclasses.dataclass
class Results:
    """What one run measured: benchmark -> value name -> number."""

    TARGETS = {"linux": "Linux", "windows": "Windows, under Wine"}

    values: dict
    context: dict
    target: str = ""

    @property
    def is_of_windows(self):
        return self.context["executable"].endswith(".exe")

    def value(self, bench, name):
        return self.values.get(bench, {}).get(name)

    def samples(self, bench, prefix):
        found = self.values.get(bench, {})
        return [found[name] for name in sorted(found) if name.startswith(prefix)]

    def derive(self):
        """Adds the values that are made of others."""
        for kind in ("same", "changed"):
            for side in ("module", "floor"):
                few, many = (self.value(f"{kind}_list_{count}/{side}", "real_time") for count in (1000, 10000))
                if few and many:
                    self.values[f"{kind}_list_growth/{side}"] = {"times": many / few}
        for side in ("module", "floor"):
            one, many = (self.value(f"cameras_{count}/{side}", "real_time") for count in (1, 256))
            if one and many:
                self.values[f"cameras_growth/{side}"] = {"times": many / one}
        few, many = (self.value(f"buffers_{count}/module", "real_time") for count in (16, 1024))
        if few and many:
            self.values["buffers_growth/module"] = {"times": many / few}
        resident = self.samples("memory/module", "kib_")
        if resident:
            settled = len(resident) // 10
            self.values["memory/module"]["growth"] = resident[-1] - resident[settled]


@dataclasses.dataclass(frozen=True)
class Figure:
    """compare is "ratio", "speed" (the inverse ratio of two times), "difference", "itself" (the module's value is
    judged), or "" (nothing is).

    A budget is an upper bound, for "speed" a lower one; with a number of calls, it is for one of them.
    """

    title: str
    module: str
    floor: str = ""
    compare: str = ""
    budget: float | None = None
    budget_of_windows: float | None = None  # where it differs
    value: str = "real_time"
    unit: str = "ns"
    calls: int = 1
    is_change: bool = False  # which may be none, or negative
    is_for_linux: bool = False


def device_lists():
    for kind, what in (("same", "unchanged"), ("changed", "half changed")):
        for count in (100, 1000, 10000):
            name = f"{kind}_list_{count}"
            yield Figure(f"update of a list of {count:,} devices, {what}", f"{name}/module", f"{name}/floor", "ratio",
                         1.5 if count == 10000 else None, unit="us")


FIGURES = [
    Figure("cost per frame", "frame_cost/module", "frame_cost/floor", "itself", 500, 1000),
    Figure("of which in the camera library", "frame_cost/library"),
    Figure("images dropped per frame, as the consumer was slower", "frame_cost/module", value="lost_per_frame",
           unit="", is_change=True),
    Figure("throughput of 12 MiB frames, per frame", "throughput/module", "throughput/floor", "speed", 0.98, unit="us"),
    Figure("latency, median", "latency/module", "latency/floor", "ratio", 1, value="median"),
    Figure("latency, 99th percentile", "latency/module", "latency/floor", "ratio", 1, value="p99"),
    Figure("latency over the system's own wake-up, median", "latency/module", "latency/word", "ratio", 1.25,
           value="median"),
    Figure("latency over the system's own wake-up, 99th percentile", "latency/module", "latency/word", "ratio", 1.25,
           value="p99"),
    Figure("latency on one processor, median", "latency_together/module", "latency_together/floor", "ratio", 1.25,
           value="median", is_for_linux=True),
    Figure("latency on one processor, 99th percentile", "latency_together/module", "latency_together/floor", "ratio",
           1.25, value="p99", is_for_linux=True),
    Figure("latency on one processor over the system's own wake-up, median", "latency_together/module",
           "latency_together/word", "ratio", value="median", is_for_linux=True),
    Figure("GCReadPort, 4 bytes of a camera", "read_port/module", "read_port/floor", "difference", 10),
    Figure("DSGetInfo", "stream_info/module", "empty_call/floor", "difference", 30),
    Figure("DSGetBufferInfo", "buffer_info/module", "empty_call/floor", "difference", 30),
    Figure("DSGetBufferInfo, an unknown command", "refused_command/module", compare="itself", budget=1000),
    Figure("DSGetBufferInfo, a buffer that is too small", "refused_size/module", compare="itself", budget=1000),
    Figure("DSQueueBuffer", "queue_buffer/module", "empty_call/floor", "difference", 30),
    Figure("DSQueueBuffer and DSFlushQueue, each", "queue_and_discard/module", "empty_call/floor", "difference", 30, calls=2),
    Figure("check of a handle", "handle_check/module", "handle_check/floor", "difference", 15),
    Figure("guard around a call of the camera library", "guarded_call/module", "guarded_call/floor", "difference", 5,
           is_change=True),
    Figure("standard module: EventGetData of an image that is there", "standard_fetch/module", "standard_fetch/floor",
           "difference", 50),
    Figure("the same, acquired on another processor", "standard_fetch_apart/module", "standard_fetch_apart/floor",
           "difference"),
    Figure("standard module: DSGetBufferInfo, width of an image", "standard_info/module", "standard_info/floor",
           "difference", 100),
    Figure("standard module: latency, median", "standard_latency/module", "standard_latency/floor", "ratio", 1.05,
           value="median"),
    Figure("standard module: EventKill to the end of the wait, median", "standard_kill/module", value="median",
           unit="us"),
    Figure("standard module: EventKill to the end of the wait, longest", "standard_kill/module", compare="itself",
           budget=20000, value="longest", unit="us"),
    Figure("System XML", "system_xml/module", "system_xml/floor", "ratio", 1.1),
    *device_lists(),
    Figure("processor time of 16 VGA cameras, 30 frames/s", "processor/module", "processor/floor", "difference", 1, 3,
           "core_percent", "% of a core"),
    Figure("opening and listing 100 cameras on 4 interfaces", "open_all/module", "open_all/floor", "ratio", 1.2,
           unit="us"),
    Figure("start of an acquisition to its first image", "start/module", "start/floor", "difference", 1000, unit="us"),
    Figure("stop of an acquisition", "start/module", "start/floor", "difference", 1000, value="stop", unit="us"),
    Figure("time of an image, 256 cameras instead of 1", "cameras_growth/module", "cameras_growth/floor", "ratio", 1.5,
           value="times", unit="x"),
    Figure("cost per frame, 1,024 buffers instead of 16", "buffers_growth/module", compare="itself", budget=1.5,
           value="times", unit="x"),
    *(Figure(f"growth, 1,000 to 10,000 devices, {what}", f"{kind}_list_growth/module",
             f"{kind}_list_growth/floor", "ratio", 1.5, value="times", unit="x")
      for kind, what in (("same", "unchanged"), ("changed", "half changed"))),
    Figure("resident memory, growth over 900,000 of 1,000,000 frames", "memory/module", compare="itself", budget=256,
           value="growth", unit="KiB", is_change=True),
    Figure("resident memory at the end", "memory/module", value="kib_020", unit="KiB"),
    Figure("load, open and list", "load_open_list/module", unit="us"),
]

# What is known of the build without a run.
BUILD_FIGURES = [Figure("size of the module", "module_size/module", value="kib", unit="KiB")]


def number(value):
    if value is None:
        return "-"
    if value != 0 and abs(value) < 10:
        return f"{value:.2f}"
    return f"{value:,.1f}" if abs(value) < 1000 else f"{value:,.0f}"


class Row:
    """A figure with what was measured of it."""

    def __init__(self, figure, results):
        self.title = figure.title
        is_special = results.is_of_windows and figure.budget_of_windows is not None
        self.budget = figure.budget_of_windows if is_special else figure.budget
        self.figure = figure
        scale = 1e3 if figure.unit == "us" else figure.calls
        module = results.value(figure.module, figure.value)
        floor = results.value(figure.floor, figure.value) if figure.floor else None
        self.inputs = f"{figure.module} {module}, {figure.floor or 'no floor'} {floor}"
        self.is_measured = module is not None and (figure.is_change or module > 0)
        if figure.floor:
            self.is_measured = self.is_measured and floor is not None and floor > 0
        self.module = module / scale if module is not None else None
        self.floor = floor / (1e3 if figure.unit == "us" else 1) if floor is not None else None
        self.compared = self._compare() if self.is_measured and figure.compare else None

    def _compare(self):
        if self.figure.compare == "ratio":
            return self.module / self.floor
        if self.figure.compare == "speed":
            return self.floor / self.module
        return self.module if self.figure.compare == "itself" else self.module - self.floor

    @property
    def is_met(self):
        if self.compared is None or self.budget is None:
            return None
        if self.figure.compare == "speed":
            return self.compared >= self.budget
        return self.compared <= self.budget

    @property
    def share_of_budget(self):
        """1 when the budget is just met, more when it is not; None without a budget."""
        if self.is_met is None:
            return None
        if self.figure.compare == "speed":
            return self.budget / self.compared
        return max(self.compared, 0) / self.budget

    def cells(self):
        unit = f" {self.figure.unit}" if self.figure.unit else ""
        sign, suffix = {"ratio": ("", "x"), "speed": ("", "x"), "difference": ("+", unit)}.get(self.figure.compare, ("", ""))
        is_new = self.compared is not None and self.figure.compare != "itself"
        compared = "" if not is_new else f"{sign if self.compared >= 0 else ''}{number(self.compared)}{suffix}"
        bound = ">=" if self.figure.compare == "speed" else "<="
        budget = "" if self.budget is None else f"{bound} {sign}{self.budget:g}{suffix or unit}"
        met = {None: "", True: "yes", False: "no"}[self.is_met]
        floor = "" if self.floor is None else number(self.floor) + unit
        return (self.title, number(self.module) + unit, floor, compared, budget, met)
