"""The pictures and tables of the performance page, drawn from the kept results of the benchmarks."""
import json
import re

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plot

import samples

DATA = samples.ROOT / "docs" / "data"
COLOURS = ("#2a6fbb", "#e08a1e", "#4a9a5b", "#a2478f", "#8a8a8a", "#c8423b", "#6b4fa0", "#2aa5a5")
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

    def save(self, figure, name, alt):
        figure.tight_layout()
        figure.savefig(self.folder / f"{name}.svg", metadata={"Date": None})
        plot.close(figure)
        return f"```{{image}} figures/{name}.svg\n:alt: {alt}\n```\n"

    def source(self, data):
        return f"*`{data['command']}` on {data['machine']}.*\n"

    def bandwidth(self):
        data = kept("peers")
        rows = [row for row in data["rows"] if "memcpy" in row]
        figure, axes = plot.subplots(figsize=(8, 3.0))
        for index, threads in enumerate(("1", "2")):
            axes.bar([place + 0.4 * index for place in range(len(rows))], [100 * row["memcpy"][threads] for row in rows], 0.4,
                     color=COLOURS[index], label=f"{threads} thread{'s' if threads != '1' else ''}")
        axes.axhline(100, color="#444444", linewidth=0.8)
        names = [f"{row['operation']}\n{row['voxels']}" for row in rows]
        axes.set_xticks([place + 0.2 for place in range(len(rows))], names, fontsize=7)
        axes.set_ylabel("% of the rate of memcpy")
        axes.legend(frameon=False, ncol=2)
        return (self.save(figure, "bandwidth", "rates of voxel-wise operators as shares of memcpy") +
                f"\n*On {data['machine']}, 512 x 512 x 512 voxels, medians of five rounds. `make bench FILTER=reused` prints the same "
                "share as `of memcpy`.*\n")

    def python(self):
        data = kept("peers-python")
        counts = list(data["rows"][0]["ns"])
        rows = [[f"[{row['operator']}](operators/{row['operator']}.md)", f"`{row['function']}`", number(row["nsPeer"]),
                 *(number(row["ns"][threads]) for threads in counts),
                 *(f"{row['nsPeer'] / row['ns'][threads]:.1f}" for threads in counts)] for row in data["rows"]]
        titles = [f"{threads} thread{'s' * (threads != '1')}" for threads in counts]
        head = ["Operator", "Peer", "Peer, 1 thread", *(f"Operator, {title}" for title in titles), *(f"Times as fast, {title}" for title in titles)]
        return ("Times in nanoseconds per voxel.\n\n" + table(head, ["---", "---"] + ["--:"] * (len(head) - 2), rows) +
                "\n" + self.source(data))

    def peers(self):
        data = kept("peers")
        rows = [(row["operation"], row["voxels"], number(row["ns1"]), number(row["ns2"]),
                 f"{row['peer1']} {row['ratio1']:.1f}" if "peer1" in row else "", f"{row['peer']} {row['ratio']:.1f}")
                for row in data["rows"] if "peer" in row]
        shown = [row for row in data["rows"] if "ratio1" in row]
        figure, axes = plot.subplots(figsize=(8, 0.19 * len(shown) + 0.8))
        names = [f"{row['operation']}, {row['voxels']}" for row in shown]
        axes.barh(names, [row["ratio1"] for row in shown], color=COLOURS[0])
        for place, row in enumerate(shown):
            axes.text(row["ratio1"] * 1.06, place, row["peer1"], va="center", fontsize=7)
        axes.set_xscale("log")
        axes.set_xlim(1, 300)
        axes.tick_params(axis="y", labelsize=7)
        axes.invert_yaxis()
        axes.set_xlabel("how many times as long the fastest other library takes, one thread each")
        libraries = ", ".join(f"{name} {version}" for name, version in data["libraries"].items())
        head = ("Operation", "Voxels", "ns, 1 thread", "ns, 2 threads", "Fastest peer, 1 thread", "Fastest peer, any threads")
        return (self.save(figure, "peers", "times of the fastest other libraries as multiples") + "\n" +
                table(head, ("---", "---", "--:", "--:", "--:", "--:"), rows) +
                f"\n*On {data['machine']}; {libraries}.*\n")

    def growth(self):
        figure, axes = plot.subplots(figsize=(8, 3.6))
        for index, (name, points) in enumerate(sorted(self.costs["growth"].items())):
            axes.plot(*zip(*points), marker="o", markersize=3, color=COLOURS[index % len(COLOURS)],
                      linestyle="-" if "box" in name else "--", label=name)
        axes.set_yscale("log")
        axes.set_xlabel("side of the element, voxels")
        axes.set_ylabel("ns per voxel, one thread")
        axes.legend(frameon=False, fontsize=7, loc="center left", bbox_to_anchor=(1, 0.5))
        return self.save(figure, "growth", "time per voxel over the side of the element") + (
            "\nOn the scan of the operator pages, 128 x 128 x 64 voxels. " + self.source(self.costs))

    def runs(self, scale, threads):
        """{operator: its run on volumes of a scale}, without those that were not measured so."""
        found = {}
        for name, runs in self.costs["operators"].items():
            found.update({name: run for run in runs if run["scale"] == scale and run["threads"] == threads})
        return found

    def threads(self):
        data = kept("peers")
        ratios = sorted(((row["speedup"], f"{row['operation']}, {row['voxels']}") for row in data["rows"]), reverse=True)
        figure, axes = plot.subplots(figsize=(8, 0.17 * len(ratios) + 0.8))
        axes.barh([name for _, name in ratios], [ratio for ratio, _ in ratios], color=COLOURS[0])
        axes.axvline(1, color="#444444", linewidth=0.8)
        axes.axvline(2, color="#444444", linewidth=0.8, linestyle=":")
        axes.tick_params(axis="y", labelsize=7)
        axes.invert_yaxis()
        axes.set_xlabel("times as fast with two threads as with one")
        return (self.save(figure, "threads", "speed with two threads over that with one") +
                f"\n*From the same run as the table of the C++ libraries, best of five rounds, on {data['machine']}.*\n")

    def size(self):
        small, large = self.runs(1, 1), self.runs(2, 1)
        figure, axes = plot.subplots(figsize=(8, 3.6))
        for name in large:
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
        """The columns for all threads are there if these were measured."""
        counts = sorted({run["threads"] for runs in self.costs["operators"].values() for run in runs})
        runs = {threads: {**self.runs(1, threads), **self.runs(2, threads)} for threads in counts}
        rows = []
        for names in samples.families().values():
            for name in names:
                one = runs[1][name]
                rows.append([f"[{name}](operators/{name}.md)", f"{one['voxels'] / 1e6:.2f}",
                             *(number(runs[threads][name]["nsPerVoxel"]) for threads in counts), f"{one['extraMiB']:.1f}"])
        head = ["Operator", "Million voxels", *(f"ns per voxel, {threads} thread{'s' * (threads > 1)}" for threads in counts),
                "Extra memory, MiB"]
        return table(head, ["---"] + ["--:"] * (len(head) - 1), rows) + "\n" + self.source(self.costs)


def write(folder, page):
    """Replaces the marks of the page by what they name; a mark whose figures were not kept by what is missing."""
    figures = Figures(folder)
    needs = {"python": "peers-python", "peers": "peers", "bandwidth": "peers", "threads": "peers"}
    text = page.read_text()
    for name in re.findall(r"^<!-- here: (\w+) -->$", text, flags=re.M):
        data = needs.get(name, "costs")
        found = getattr(figures, name)() if kept(data) is not None else f"*Not measured yet: docs/data/{data}.json.*\n"
        text = text.replace(f"<!-- here: {name} -->", found)
    page.write_text(text)
