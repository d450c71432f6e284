"""How Sphinx makes the site. script/docs runs it, on the tree that stage.py has laid out."""

import re
import sys
from pathlib import Path

here = Path(__file__).resolve().parent
sys.path.insert(0, str(here))

cmake = (here.parents[1] / "CMakeLists.txt").read_text(encoding="utf-8")
version = release = re.search(r"project\(zel VERSION ([0-9.]+)", cmake)[1]
project = "zel"
author = "the zel authors"
copyright = "2026 the zel authors"  # noqa: A001 (the name that Sphinx looks for)

extensions = ["myst_parser", "sphinx_copybutton"]
source_suffix = {".rst": "restructuredtext", ".md": "markdown"}
myst_enable_extensions = ["deflist", "colon_fence"]
myst_heading_anchors = 4
nitpicky = True
nitpick_ignore = [("c:identifier", name) for name in
                  ("uint8_t", "uint16_t", "uint32_t", "uint64_t", "int32_t", "DiscoveryHandle")]
primary_domain = "c"
highlight_language = "none"

copybutton_prompt_text = "$ "
copybutton_only_copy_prompt_lines = True

html_theme = "furo"
html_title = f"zel {release}"
# The distribution's build of the theme leaves the ground that it stands on elsewhere; scripts/furo.js is ours.
html_static_path = [str(here / "static"), "/usr/share/javascript/normalize.css/normalize.css"]
html_css_files = ["zel.css"]
html_copy_source = False
html_show_sourcelink = False
html_show_sphinx = False
html_use_index = True
html_domain_indices = False
pygments_style = "friendly"
pygments_dark_style = "native"

# The distribution's build of the theme has its dark colours only for readers who choose them by the button, not for
# those whose system is dark. Set here they hold for both.
dark_colours = {
    "color-problematic": "#ee5151",
    "color-foreground-primary": "#d8d9da",
    "color-foreground-secondary": "#9ca0a5",
    "color-foreground-muted": "#81868d",
    "color-foreground-border": "#666666",
    "color-background-primary": "#131416",
    "color-background-secondary": "#1a1c1e",
    "color-background-hover": "#1e2124",
    "color-background-hover--transparent": "#1e212400",
    "color-background-border": "#303335",
    "color-background-item": "#444444",
    "color-highlighted-background": "#083563",
    "color-highlight-on-target": "#333300",
    "color-brand-primary": "#7db8ee",
    "color-brand-content": "#7db8ee",
    "color-api-name": "#f2a07f",
    "color-api-pre-name": "#f2a07f",
}
light_colours = {
    "color-brand-primary": "#1b5e9a",
    "color-brand-content": "#1b5e9a",
    "color-api-name": "#a4341a",
    "color-api-pre-name": "#a4341a",
}
html_theme_options = {
    "light_css_variables": light_colours,
    "dark_css_variables": dark_colours,
    "top_of_page_button": None,
}
