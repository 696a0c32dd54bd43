"""The samples of the operator pages: one table, from which the command, the C++ and the test of both are made."""
import json
import math
import os
import re
import shutil
import subprocess
import textwrap
import tomllib
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TABLE = ROOT / "docs" / "samples" / "operators.toml"
FAMILIES = ROOT / "docs" / "families.txt"


def families():
    """{family: [operator]} in the order of the list."""
    lines = FAMILIES.read_text().splitlines()
    return {line.split(":")[0]: line.split(":")[1].split() for line in lines if line}


def describe(tavi):
    """{operator: what `tavi describe --json` says of it}"""
    text = subprocess.run([tavi, "describe", "--json"], check=True, capture_output=True, text=True).stdout
    return {entry["operator"]: entry for entry in json.loads(text)}


class Sample:
    """One sample. `volumes` are those that it reads, in the order of its keys."""

    def __init__(self, operator, entry, description, types):
        self.operator = operator
        self.entry = entry
        self.types = types
        self.keys = {key["key"]: key for key in description["keys"]}
        self.values = dict(token.split("=", 1) for token in entry["run"].split())
        unknown = set(self.values) - set(self.keys)
        if unknown:
            raise SystemExit(f"{TABLE}: {operator} has no key {', '.join(sorted(unknown))}")
        self.volumes = []
        for key, value in self.values.items():
            if self.is_volume(key) and not key.startswith("output"):
                self.volumes += [file for file in value.split(",") if file not in self.volumes]
        outputs = [key for key in self.values if self.is_volume(key) and key.startswith("output")]
        self.output_key = outputs[0] if outputs else None
        self.output = self.values[outputs[0]].split(":")[0] if outputs else None
        is_file = "inputFilename" in self.values
        self.written = self.values["inputFilename"] if is_file and self.volumes else None

    def is_volume(self, key):
        return self.keys[key]["takes"] in ("volume", "mask volume", "label volume", "matrix", "list of volumes")

    def argument(self, file):
        return re.sub(r"\W", "_", file.rsplit(".", 1)[0])

    def command(self):
        """As it is typed, one key a line."""
        words = [f"tavi run {self.operator}"] + [f"{key}={value}" for key, value in self.values.items()]
        return " \\\n    ".join(words) if len(" ".join(words)) > 90 else " ".join(words)

    def voxel_type(self, key):
        """That of the volume under a key of the sample."""
        parts = self.values.get(key, "").split(":")
        if len(parts) > 1:
            return parts[1]
        if parts[0] in self.types:
            return self.types[parts[0]]
        return self.types[self.volumes[0]]

    def expression(self, key, value):
        takes, like = self.keys[key]["takes"], self.keys[key]["like"]
        if takes == "list of volumes":
            return None
        if self.is_volume(key):
            return self.argument(value)
        if takes == "grey value" or takes == "number" and like:
            voxel = self.voxel_type(like)
            if takes == "number":
                voxel = "float64" if voxel == "float64" else "float32"
            return f"NORV::{voxel}({value})"
        if takes in ("dimension", "position", "region"):
            return "{" + ", ".join(value.split("x")) + "}"
        if takes in ("text", "file name"):
            return f'"{value}"'
        return value

    def assignment(self, key, value):
        member = f"parameter->{key}"
        if self.keys[key]["takes"] == "list of volumes":
            arguments = [self.argument(file) for file in value.split(",")]
            lines = [f"const SmartPointer<{self.operator}::Kernels> kernels(new {self.operator}::Kernels);"]
            lines += [f"kernels->push_back({argument});" for argument in arguments]
            return lines + [f"{member} = kernels;"]
        expression = self.expression(key, value)
        if not expression.startswith("NORV::"):
            return [f"{member} = {expression};"]
        if self.entry.get("pointer_values"):
            voxel, number = expression[:-1].split("(")
            return [f"{member} = SmartPointer<IComposite>(new Data<{voxel}>({number}));"]
        return [f"{member}.setValue({expression});"]

    def output_lines(self):
        """How the C++ gives the volume to write, where the operator does not make it."""
        if self.entry.get("in_place"):
            return [f"parameter->{self.output_key} = {self.argument(self.volumes[0])};  // in place: the border stays"]
        parts = self.values[self.output_key].split(":")
        if len(parts) == 1 and not self.keys[self.output_key]["required"]:
            return []
        voxel = f"NORV::{self.voxel_type(self.output_key)}"
        first = self.argument(self.volumes[0]) if self.volumes else None
        if len(parts) == 3:
            extents = f"Dimension<SizeType>({', '.join(parts[2].split('x'))})"
        else:
            extents = f"{first}->getDimension()" if first else ""
        return [f"parameter->{self.output_key} = VolumePtr<{voxel}>(new Volume<{voxel}>({extents}));"]

    def fixed_voxels(self):
        """The number of voxels of the output where the sample sets its extents, otherwise nothing."""
        parts = self.values[self.output_key].split(":") if self.output_key else []
        return math.prod(map(int, parts[2].split("x"))) if len(parts) == 3 else None

    def includes(self):
        return [f"#include <DLL/{self.operator}.hpp>", f"#include <{self.operator}.hpp>"]

    def function(self):
        """The C++ of the sample, without its includes."""
        arguments = ", ".join(f"const SmartPointer<IVolume>& {self.argument(file)}" for file in self.volumes)
        result = "SmartPointer<IVolume>" if self.output_key else "void"
        head = f"{result} run({arguments}) {{"
        if len(head) > 100:
            head = f"{result} run({arguments.replace(', ', ',' + chr(10) + ' ' * (len(result) + 5))}) {{"
        lines = [f"const SmartPointer<{self.operator}::Parameter> parameter(new {self.operator}::Parameter);"]
        for key, value in self.values.items():
            lines += self.output_lines() if key == self.output_key else self.assignment(key, value)
        lines.append(f"DLL::{self.operator}::Operator().apply(parameter);")
        lines += self.entry.get("extra", "").strip().splitlines()
        if "print" in self.entry:
            words = " << ' ' << ".join(word.strip() for word in self.entry["print"].split(","))
            lines.append(f"std::cout << {words} << '\\n';")
        if self.output_key:
            lines.append(f"return parameter->{self.output_key};")
        return head + "\n" + textwrap.indent("\n".join(lines), "  ") + "\n}"

    def program(self):
        """What the page shows."""
        includes = self.includes() + (["", "#include <iostream>"] if "print" in self.entry else [])
        return "\n".join(includes) + "\n\nusing namespace NORV::TaviOperators;\n\n" + self.function()


def load(tavi):
    """The list of volumes and {operator: Sample}; every operator of the library has one."""
    table = tomllib.loads(TABLE.read_text())
    volumes = table.pop("volume")
    types = {volume["name"]: volume["type"] for volume in volumes}
    descriptions = describe(tavi)
    for missing in set(descriptions) ^ set(table):
        raise SystemExit(f"{TABLE}: {missing} is no operator, or an operator without a sample")
    samples = {name: Sample(name, table[name], description, types) for name, description in descriptions.items()}
    return volumes, samples


def call(tavi, command, folder):
    result = subprocess.run([tavi, *command.split()], cwd=folder, capture_output=True, text=True)
    if result.returncode != 0:
        raise SystemExit(f"tavi {command}: status {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def run_all(tavi, folder):
    """Runs every sample in an empty folder; the results land in <folder>/tool. {operator: what its command printed}"""
    volumes, all_samples = load(tavi)
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "tool").mkdir(parents=True)
    shutil.copy(TABLE.parent / "rotation.vti", folder)
    for volume in volumes:
        for command in volume["make"]:
            call(tavi, command, folder)
    printed = {}
    for operator, sample in all_samples.items():
        for command in sample.entry.get("make", []):
            call(tavi, command, folder)
        printed[operator] = call(tavi, f"run {operator} {sample.entry['run']} --quiet", folder)
        for result in filter(None, (sample.output, sample.written)):
            (folder / result).rename(folder / "tool" / result)
    return printed


def processor():
    """The machine, as figures name it."""
    lines = Path("/proc/cpuinfo").read_text().splitlines()
    names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    flags = next(line for line in lines if line.startswith("flags"))
    vectors = "AVX-512" if "avx512f" in flags else "AVX2" if "avx2" in flags else "SSE"
    return f"{os.cpu_count()} processors of an {names[0]} with {vectors}"
