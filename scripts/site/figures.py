"""The pictures and tables of the performance page, drawn from the kept results of the benchmarks."""
import json
import re

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plot

import samples

DATA = samples.ROOT / "docs" / "data"
COLOURS = ("#2a6fbb", "#e08a1e", "#4a9a5b", "#a2478f", "#8a8a8a")
plot.rcParams.update({"svg.hashsalt": "tavi", "font.size": 9, "axes.spines.top": False, "axes.spines.right": False})


def kept(name):
    """A file of kept results, or nothing where it was not measured."""
    path = DATA / f"{name}.json"
    return json.loads(path.read_text()) if path.exists() else None


def table(head, align, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "|".join(align) + "|"]
    return "\n".join(lines + ["| " + " | ".join(str(part) for part in row) + " |" for row in rows]) + "\n"


def number(value):
    return "" if value is None else f"{value:.3g}"


class Figures:
    def __init__(self, folder):
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        self.costs = kept("costs")
        self.benchmarks = kept("benchmarks")

    def save(self, figure, name, alt):
        figure.tight_layout()
        figure.savefig(self.folder / f"{name}.svg", metadata={"Date": None})
        plot.close(figure)
        return f"```{{image}} figures/{name}.svg\n:alt: {alt}\n```\n"

    def source(self, data):
        return f"*`{data['command']}` on {data['machine']}.*\n"

    def bandwidth(self):
        """Rows "Saturation<uint8>/reused/512MiB/2T" of the benchmarks of voxel-wise operators."""
        shares = {}
        for row in self.benchmarks["rows"]:
            match = re.match(r"(\w+)<([\w:]+)>/reused/(\d+MiB)/(\d+)T", row["name"])
            if match and "of memcpy" in row:
                name = f"{match[1]} {match[2].removeprefix('NORV::')}"
                shares.setdefault((match[3], int(match[4])), {})[name] = 100 * row["of memcpy"]
        if not shares:
            return ""
        names = sorted({name for group in shares.values() for name in group})
        figure, axes = plot.subplots(figsize=(8, 3.2))
        width = 0.8 / len(shares)
        for index, ((size, threads), group) in enumerate(sorted(shares.items())):
            places = [place + index * width for place in range(len(names))]
            axes.bar(places, [group.get(name, 0) for name in names], width, color=COLOURS[index % len(COLOURS)],
                     label=f"{size.replace('MiB', ' MiB')}, {threads} thread{'s' if threads > 1 else ''}")
        axes.axhline(100, color="#444444", linewidth=0.8)
        axes.set_xticks([place + 0.4 - width / 2 for place in range(len(names))], names, rotation=20, ha="right")
        axes.set_ylabel("% of the rate of memcpy")
        axes.legend(frameon=False, ncol=2)
        return self.save(figure, "bandwidth", "rates of voxel-wise operators as shares of memcpy") + "\n" + self.source(
            self.benchmarks)

    def python(self):
        data = kept("peers-python")
        rows = [(f"[{row['operator']}](operators/{row['operator']}.md)", row["function"], number(row["ns"]),
                 number(row["nsAll"]), number(row["nsPeer"]), f"{row['nsPeer'] / row['ns']:.1f}",
                 f"{row['nsPeer'] / row['nsAll']:.1f}") for row in data["rows"]]
        head = ("Operator", "Beside it", "1 thread", f"{data['threads']} threads", "Peer", "Times as fast, 1 thread",
                f"{data['threads']} threads")
        return ("Times in nanoseconds per voxel.\n\n" + table(head, ("---", "---") + ("--:",) * 5, rows) + "\n" +
                self.source(data))

    def peers(self):
        data = kept("peers")
        rows = [(row["operation"], row["voxels"], number(row["ns1"]), number(row["ns2"]),
                 f"{row['peer1']} {row['ratio1']:.1f}" if row["peer1"] else "", f"{row['peer']} {row['ratio']:.1f}")
                for row in data["rows"]]
        shown = [row for row in data["rows"] if row["ratio1"]]
        figure, axes = plot.subplots(figsize=(8, 0.19 * len(shown) + 0.8))
        names = [f"{row['operation']}, {row['voxels']}" for row in shown]
        axes.barh(names, [row["ratio1"] for row in shown], color=COLOURS[0])
        for place, row in enumerate(shown):
            axes.text(row["ratio1"] * 1.06, place, row["peer1"], va="center", fontsize=7)
        axes.set_xscale("log")
        axes.set_xlim(1, 400)
        axes.tick_params(axis="y", labelsize=7)
        axes.invert_yaxis()
        axes.set_xlabel("how many times as long the fastest other library takes, one thread each")
        libraries = ", ".join(f"{name} {version}" for name, version in data["libraries"].items())
        head = ("Operation", "Voxels", "ns, 1 thread", "ns, 2 threads", "Fastest peer, 1 thread", "Fastest peer, any threads")
        return (self.save(figure, "peers", "times of the fastest other libraries as multiples") + "\n" +
                table(head, ("---", "---", "--:", "--:", "--:", "--:"), rows) +
                f"\n*On {data['machine']}; {libraries}.*\n")

    def growth(self):
        """Rows "Erosion<uint8>/box/5": time per voxel over the side of the element."""
        lines = {}
        for row in self.benchmarks["rows"]:
            match = re.match(r"(Erosion|Median)<([\w:]+)>/(box|ball)/(\d+)", row["name"])
            if match:
                name = f"{match[1]}, {match[3]}, {match[2].removeprefix('NORV::')}"
                lines.setdefault(name, []).append((int(match[4]), row["nsPerVoxel"]))
        if not lines:
            return ""
        figure, axes = plot.subplots(figsize=(8, 3.4))
        for index, (name, points) in enumerate(lines.items()):
            points.sort()
            axes.plot(*zip(*points), marker="o", markersize=4, color=COLOURS[index // 2 % len(COLOURS)],
                      linestyle="-" if "box" in name else "--", label=name)
        axes.set_yscale("log")
        axes.set_xlabel("side of the element, voxels")
        axes.set_ylabel("ns per voxel")
        axes.legend(frameon=False, fontsize=8, loc="center left", bbox_to_anchor=(1, 0.5))
        return self.save(figure, "growth", "time per voxel over the side of the element") + "\n" + self.source(self.benchmarks)

    def runs(self, scale, threads):
        """{operator: its run on volumes of a scale}"""
        return {name: next((run for run in runs if run["scale"] == scale and run["threads"] == threads), None)
                for name, runs in self.costs["operators"].items()}

    def all_threads(self):
        return max(run["threads"] for runs in self.costs["operators"].values() for run in runs)

    def threads(self):
        one, every = self.runs(2, 1), self.runs(2, self.all_threads())
        ratios = sorted(((one[name]["seconds"] / every[name]["seconds"], name) for name in one
                         if one[name]["seconds"] > 2e-3), reverse=True)
        figure, axes = plot.subplots(figsize=(8, 0.17 * len(ratios) + 0.8))
        axes.barh([name for _, name in ratios], [ratio for ratio, _ in ratios], color=COLOURS[0])
        axes.axvline(1, color="#444444", linewidth=0.8)
        axes.tick_params(axis="y", labelsize=7)
        axes.invert_yaxis()
        axes.set_xlabel(f"times as fast with {self.all_threads()} threads as with one")
        return (self.save(figure, "threads", "speed with all threads over that with one") + "\nOperators whose sample takes "
                "at least two milliseconds. " + self.source(self.costs))

    def size(self):
        small, large = self.runs(1, 1), self.runs(2, 1)
        figure, axes = plot.subplots(figsize=(8, 3.6))
        for name in small:
            if small[name]["voxels"] * 7 < large[name]["voxels"]:
                axes.plot([small[name]["voxels"], large[name]["voxels"]],
                          [small[name]["nsPerVoxel"], large[name]["nsPerVoxel"]], color=COLOURS[0], alpha=0.5, marker=".")
        axes.set_xscale("log")
        axes.set_yscale("log")
        axes.set_xlabel("voxels")
        axes.set_ylabel("ns per voxel, one thread")
        return (self.save(figure, "size", "time per voxel over the size of the volume") + "\nA line per operator: a level line "
                "is a time in proportion to the voxels. Small volumes stay in the caches, so voxel-wise lines rise.\n\n" +
                self.source(self.costs))

    def operators(self):
        one, every = self.runs(2, 1), self.runs(2, self.all_threads())
        rows = []
        for names in samples.families().values():
            rows += [(f"[{name}](operators/{name}.md)", f"{one[name]['voxels'] / 1e6:.2f}", number(one[name]["nsPerVoxel"]),
                      number(every[name]["nsPerVoxel"]), f"{one[name]['extraMiB']:.1f}") for name in names]
        head = ("Operator", "Million voxels", "ns per voxel, 1 thread", f"{self.all_threads()} threads", "Extra memory, MiB")
        return table(head, ("---", "--:", "--:", "--:", "--:"), rows) + "\n" + self.source(self.costs)


def write(folder, page):
    """Replaces the marks of the page by what they name; a mark whose figures were not kept by what is missing."""
    figures = Figures(folder)
    needs = {"bandwidth": "benchmarks", "growth": "benchmarks", "python": "peers-python", "peers": "peers"}
    text = page.read_text()
    for name in re.findall(r"^<!-- here: (\w+) -->$", text, flags=re.M):
        data = needs.get(name, "costs")
        found = getattr(figures, name)() if kept(data) is not None else f"*Not measured yet: docs/data/{data}.json.*\n"
        text = text.replace(f"<!-- here: {name} -->", found)
    page.write_text(text)
