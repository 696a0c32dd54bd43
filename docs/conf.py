"""Sphinx: how the site of the documentation is built; scripts/site/build calls it."""
import os
from pathlib import Path

project = "TaviOperators"
author = "The TaviOperators authors"
copyright = "The TaviOperators authors, Apache License 2.0"

cmake = (Path(os.environ["TAVI_DOCS_ROOT"]) / "CMakeLists.txt").read_text()
version = release = cmake.split("VERSION", 2)[2].split()[0]

extensions = ["myst_parser", "breathe"]
myst_enable_extensions = ["colon_fence", "deflist"]
myst_heading_anchors = 4
exclude_patterns = ["README.md"]
nitpicky = False

breathe_projects = {"tavi": str(Path(os.environ["TAVI_DOCS_WORK"]) / "doxygen" / "xml")}
breathe_default_project = "tavi"
breathe_default_members = ("members", "undoc-members")

html_theme = "furo"
html_title = f"TaviOperators {version}"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False
