"""What the documents show runs as it stands there."""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
BINDING = Path(__file__).resolve().parents[1]


def run(folder, *words):
    done = subprocess.run([sys.executable, *words], capture_output=True, text=True, timeout=60, cwd=folder)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_the_readmes_program(pensim, tmp_path):
    program = re.search(r"```python\n(.*?)```", (BINDING / "README.md").read_text(encoding="utf-8"), re.S)[1]
    lines = run(tmp_path, "-c", program).splitlines()
    assert lines[0] == "0 of 1205444" and "1.2.3.4 200" in lines
    assert [entry.name for entry in tmp_path.iterdir()] == ["pages.zel"]


def test_the_example(pensim, tmp_path):
    told = run(tmp_path, str(ROOT / "examples" / "fetch_pages.py"), "a.zel")
    assert "AKZ-AQ7-APS-AC: 8 pages saved\n" in told
    assert "1.2.3.4 200 bytes\n" in told
