"""The two readers of files, one a system, give the same attributes for the same files.

    readers_agree.py write PROGRAM ANSWERS FOLDER...     on Linux: describes every PE file below
    readers_agree.py compare PROGRAM ANSWERS WRAPPER     under Wine: describes the same and compares
"""
import json
import pathlib
import subprocess
import sys
import tempfile

SUFFIXES = {".exe", ".dll", ".efi", ".sys", ".ocx", ".cpl", ".drv", ".signed"}
ATTRIBUTES = ("signer", "iconhash", "productname", "originalname", "copyright", "description",
              "procpath")
AT_MOST_OF_A_FOLDER = 400


def describe(command, files):
    with tempfile.TemporaryDirectory() as home:
        result = subprocess.run(
            [*command, "describe", "--json", "--signer-trust", "none", "--home", home, "-"],
            input="\n".join(map(str, files)) + "\n", capture_output=True, encoding="utf-8",
            timeout=280)
    answers = [json.loads(line) for line in result.stdout.splitlines()]
    if len(answers) != len(files):
        sys.exit(f"{len(files)} files, {len(answers)} answers\n{result.stderr}")
    return answers


def write(program, answers, *folders):
    files = []
    for folder in folders:
        found = sorted(path for path in pathlib.Path(folder).rglob("*")
                       if path.suffix.lower() in SUFFIXES and path.is_file()
                       and not path.is_symlink())
        if not found:
            sys.exit(f"{folder}: no PE file below it")
        files += found[:AT_MOST_OF_A_FOLDER]
    lines = [json.dumps({"file": str(file), **answer})
             for file, answer in zip(files, describe([program], files))]
    pathlib.Path(answers).write_text("\n".join(lines) + "\n", encoding="utf-8")
    print(f"{len(lines)} files described")


def compare(program, answers, wrapper):
    path = pathlib.Path(answers)
    if not path.exists():
        sys.exit(f"{path} is missing: the native lane writes it")
    expected = [json.loads(line) for line in path.read_text(encoding="utf-8").splitlines()]
    files = [entry["file"] for entry in expected]
    differences = 0
    for entry, answer in zip(expected, describe([wrapper, program], files)):
        for key in ATTRIBUTES:
            if entry[key] != answer[key]:
                differences += 1
                print(f"{entry['file']}: {key}: Linux {entry[key]!r}, Windows {answer[key]!r}")
    print(f"{len(expected)} files compared, {differences} differences")
    sys.exit(1 if differences or not expected else 0)


if __name__ == "__main__":
    {"write": write, "compare": compare}[sys.argv[1]](*sys.argv[2:])
