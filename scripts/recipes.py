"""Runs the programs of docs/recipes.md, each in a new process. Stops at the first error.

Usage: recipes.py PROGRAMS FOLDER
  PROGRAMS   folder of frd2mek, mekinfo and mekrecover
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
PART = re.compile(r"^## (.+?)$|^```(python|sh)\n(.*?)^```", re.DOTALL | re.MULTILINE)


def main(programs: str, folder: str) -> None:
    shutil.copy(ROOT / "examples" / "bracket" / "coarse.frd", Path(folder, "bracket.frd"))
    folders = [os.path.abspath(programs), str(ROOT / "python" / "bin"), os.environ["PATH"]]
    environment = {**os.environ, "PATH": os.pathsep.join(folders), "MPLBACKEND": "Agg"}
    shells = {"python": [sys.executable, "-W", "error", "-c"], "sh": ["sh", "-euc"]}
    text = (ROOT / "docs" / "recipes.md").read_text(encoding="utf-8")
    recipe = ""
    for title, language, program in PART.findall(text):
        if title:
            recipe = title
            print(f"== {recipe}", flush=True)
            continue
        command = [*shells[language], program]
        if subprocess.run(command, cwd=folder, env=environment).returncode != 0:
            sys.exit(f"recipes: failed: {recipe}")


if __name__ == "__main__":
    main(*sys.argv[1:])
