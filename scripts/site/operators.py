"""The pages of the operators, made from what the library says of itself, the samples and the measured costs."""
import json
import subprocess

import pictures
import samples

COSTS = samples.ROOT / "docs" / "data" / "costs.json"
# Forms of a sample that a page shows side by side: title, language, text. A further language is one more row.
FORMS = (
    ("Command line", "sh", lambda sample: sample.command()),
    ("C++", "cpp", lambda sample: sample.program()),
)


def cell(text):
    return str(text).replace("|", "\\|").replace("\n", " ")


def fence(language, text):
    return f"```{language}\n{text.rstrip()}\n```\n"


def container(name, content, colons=3):
    """A block of its own class; one that holds others needs more colons than these."""
    return f"{':' * colons}{{container}} {name}\n{content.rstrip()}\n{':' * colons}\n"


def default_of(key):
    if key["key"].startswith("output") or key["required"]:
        return ""
    value = key["default"]
    if value is None:
        return "none"
    if value == "":
        return "empty"
    if isinstance(value, list):
        return "`" + "x".join(str(part) for part in value) + "`"
    return f"`{str(value).lower() if isinstance(value, bool) else value}`"


def range_of(key):
    parts = [key["range"]]
    if key["like"]:
        grey = key["takes"] == "grey value"
        parts.append((f"a value of the voxel type of `{key['like']}`" if grey else
                      f"float64 where `{key['like']}` is of float64, else float32"))
    if key["absent"]:
        parts.append(f"absent or 0: {key['absent']}")
    return "; ".join(filter(None, parts))


def key_table(description):
    rows = ["| Key | Takes | Required | Default | Unit | Range | Meaning |", "|---|---|---|---|---|---|---|"]
    for key in description["keys"]:
        row = [f"`{key['key']}`", key["takes"], "yes" if key["required"] else "no", default_of(key), key["unit"],
               range_of(key), key["meaning"]]
        rows.append("| " + " | ".join(cell(part) for part in row) + " |")
    return "\n".join(rows) + "\n"


def voxel_types(tavi, operator):
    text = subprocess.run([tavi, "describe", operator, "--markdown"], check=True, capture_output=True, text=True).stdout
    line = next(line for line in text.splitlines() if line.startswith("Voxel types: "))
    return line.removeprefix("Voxel types: ").rstrip(".")


def time_text(nanoseconds):
    return f"{nanoseconds:.3g} ns"


def cost_text(operator, costs):
    cost = costs["operators"].get(operator)
    if cost is None:
        return ""
    rows = ["| Threads | Time per voxel | Voxels | Extra memory |", "|--:|--:|--:|--:|"]
    for run in cost:
        extra = f"{run['extraMiB']:.1f} MiB" if run["threads"] == 1 else ""
        rows.append(f"| {run['threads']} | {time_text(run['nsPerVoxel'])} | {run['voxels'] / 1e6:.2f} million | {extra} |")
    single = [run for run in cost if run["threads"] == 1]
    growth = ""
    if len(single) == 2 and single[0]["voxels"] != single[1]["voxels"]:
        small, large = sorted(single, key=lambda run: run["voxels"])
        factor = large["seconds"] / small["seconds"]
        growth = (f"\nWith one thread, {large['voxels'] / small['voxels']:.3g} times the voxels take {factor:.3g} times as "
                  "long.")
    return ("\n".join(rows) + f"\n\nThe sample above on {costs['machine']}, best of five runs, by `{costs['command']}`; a "
            "fresh output, where one is made, is part of the time. The larger volume is the sample's with every voxel repeated." + growth + "\n")


class Pages:
    def __init__(self, tavi, data, printed, target):
        self.tavi, self.data, self.printed, self.target = tavi, data, printed, target
        self.descriptions = samples.describe(tavi)
        _, self.samples = samples.load(tavi)
        self.families = samples.families()
        self.costs = json.loads(COSTS.read_text()) if COSTS.exists() else {"operators": {}}
        (target / "pictures").mkdir(parents=True, exist_ok=True)

    def find(self, file):
        for folder in (self.data / "tool", self.data):
            if (folder / file).exists():
                return folder / file
        raise SystemExit(f"{file}: no sample has made it")

    def picture(self, operator, which, file, caption):
        """The slice of a volume, as a figure; `which` is "before" or "after"."""
        entry = self.samples[operator].entry
        name = f"pictures/{operator}-{which}.png"
        window = entry.get(f"window_{which}", entry.get("window"))
        project = bool(entry.get("project")) and which == "after"
        labels = which in entry.get("labels", [])
        pictures.draw(pictures.read_rek(self.find(file)), self.target / name, window, labels, project)
        return f"```{{figure}} {name}\n:alt: {file}, a slice\n\n{caption}`{file}`\n```\n"

    def pictures_of(self, operator):
        sample = self.samples[operator]
        entry = sample.entry
        files = {"before": entry.get("before") or (sample.volumes[0] if sample.volumes else None),
                 "after": entry.get("after") or sample.output}
        files = {which: file for which, file in files.items() if file and file.endswith(".rek")}
        shown = [self.picture(operator, which, file, f"{which.capitalize()}: " if len(files) == 2 else "")
                 for which, file in files.items()]
        about = f"\n{entry['about']}\n" if "about" in entry else ""
        return (container("before-after", "\n".join(shown)) if shown else "") + about

    def sample_of(self, operator):
        sample = self.samples[operator]
        forms = [container("form", f"**{title}**\n\n" + fence(language, form(sample))) for title, language, form in FORMS]
        text = container("forms", "\n".join(forms), 4)
        printed = self.printed.get(operator, "").strip()
        if printed:
            text += "\nThe command prints\n\n" + fence("text", printed)
        return text + "\n[Where the volumes of the samples come from](../sample-volumes.md).\n"

    def page(self, family, operator):
        description = self.descriptions[operator]
        parts = description["documentation"]
        lines = [f"# {operator}\n", f"{description['summary']}\n", f"{description['description']}\n",
                 self.pictures_of(operator), "## Run it\n", self.sample_of(operator), "## Keys\n", key_table(description),
                 "## Voxel types\n", f"{voxel_types(self.tavi, operator)}.\n"]
        for part in ("Border", "Rounding", "NaN"):
            if part in parts:
                lines += [f"## {part}\n", f"{parts[part][0].upper()}{parts[part][1:]}\n"]
        lines += ["## Cost\n", f"{parts['Cost'][0].upper()}{parts['Cost'][1:]}\n", cost_text(operator, self.costs),
                  f"**Extra memory:** {parts['Memory']}\n", f"**Threads and progress:** {parts['Threads']}\n",
                  "## Failures\n", f"{parts['Failures'][0].upper()}{parts['Failures'][1:]}\n",
                  "See [failures](../concepts/failures.md) for the classes and how to catch them.\n",
                  "## Method\n", parts.get("Paper", "The rule above is the whole method.") + "\n"]
        known = {"Border", "Rounding", "NaN", "Cost", "Memory", "Threads", "Failures", "Paper"}
        lines += [f"**{part}:** {text}\n" for part, text in parts.items() if part not in known]
        others = [f"[{other}]({other}.md)" for other in self.families[family] if other != operator]
        lines += ["## See also\n", f"{family}: " + ", ".join(others) + ".\n"]
        return "\n".join(lines)

    def index(self):
        lines = ["# Operators\n", "One page per operator: what it does, its keys, its cost and its failures, with a sample "
                 "as a command and in C++. The families are those of the source tree.\n"]
        for family, operators in self.families.items():
            lines += [f"## {family}\n", "| Operator | |", "|---|---|"]
            lines += [f"| [{name}](operators/{name}.md) | {cell(self.descriptions[name]['summary'])} |" for name in operators]
            names = "\n".join(f"operators/{name}" for name in operators)
            lines += ["", f"```{{toctree}}\n:hidden:\n:maxdepth: 1\n\n{names}\n```\n"]
        return "\n".join(lines)

    def volumes(self):
        table, _ = samples.load(self.tavi)
        lines = ["# Volumes of the samples\n", "The samples of the operator pages work on small volumes that these commands "
                 "make. The scan is the made-up one of the demonstration, whose true pores and inclusions are known: air "
                 "is at 4000, the material at 30000, pores at 4500 and inclusions at 52000.\n"]
        for volume in table:
            lines += [f"## {volume['name']}\n", f"{volume['type']}: {volume['about']}.\n"]
            if volume["make"]:
                lines.append(fence("sh", "\n".join("tavi " + command for command in volume["make"])))
            else:
                text = (samples.TABLE.parent / volume["name"]).read_text()
                lines.append(fence("xml", text))
        return "\n".join(lines)

    def write(self):
        for family, operators in self.families.items():
            for operator in operators:
                (self.target / f"{operator}.md").write_text(self.page(family, operator))
        (self.target.parent / "operators.md").write_text(self.index())
        (self.target.parent / "sample-volumes.md").write_text(self.volumes())
