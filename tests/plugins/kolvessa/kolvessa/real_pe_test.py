"""What the plug-in reads from PE files that others made equals what independent tools print:
exiftool for the version strings, wrestool and MD5 for the first icon.

    real_pe_test.py PRINT_APP_INFO SOURCE_FOLDER FIXTURE_FOLDER
"""
import hashlib
import json
import pathlib
import re
import subprocess
import sys

WINE = pathlib.Path("/usr/lib/x86_64-linux-gnu/wine/x86_64-windows")
MACHINES = (0x14C, 0x8664)
TAGS = ("OriginalFileName", "ProductName", "LegalCopyright", "FileDescription")


def read(program, files):
    """What we read: of each file the four strings and the icon's hash."""
    paths = ["Z:" + str(file).replace("/", "\\") for file in files]
    output = subprocess.run([program], input="\n".join(paths) + "\n", capture_output=True,
                            encoding="utf-8", check=True).stdout
    answers = [record.split("\x1f")[:5] for record in output.split("\x1e")[:-1]]
    assert len(answers) == len(files)
    return answers


def exiftool(files):
    output = subprocess.run(
        ["exiftool", "-j", "-q", "-m", "-api", "struct=1", *("-" + tag for tag in TAGS), "-@", "-"],
        input="\n".join(map(str, files)) + "\n", capture_output=True, encoding="utf-8").stdout
    found = {entry["SourceFile"]: entry for entry in json.loads(output)}
    # It prints numbers as such.
    return [[str(found[str(file)].get(tag, "")) for tag in TAGS] for file in files]


def resources(file, kind):
    """Name and language of each resource of a type, in the tree's order."""
    listed = subprocess.run(["wrestool", "-l", "-t", kind, file], capture_output=True,
                            encoding="utf-8").stdout
    return re.findall(r"--name=(\S+) --language=(\S+)", listed)


def first_icon(file):
    """The MD5 of the icon that the resource tree names first, or nothing."""
    icons = resources(file, "3")
    if not icons:
        return ""
    name, language = icons[0]
    data = subprocess.run(["wrestool", "-x", "--raw", "-t", "3", "-n", name, "-L", language, file],
                          capture_output=True).stdout
    return hashlib.md5(data).hexdigest() if data else ""


def is_mapped(file):
    """Whether the image is for a processor that 64-bit Windows runs on x86; the others have no view."""
    with open(file, "rb") as image:
        head = image.read(64)
        if len(head) < 64:
            return False
        image.seek(int.from_bytes(head[60:64], "little") + 4)
        return int.from_bytes(image.read(2), "little") in MACHINES


def main():
    program, source, fixtures = sys.argv[1:]
    subprocess.run([source + "/cmake/real-pe.sh"], check=True)
    packages = pathlib.Path(source, "build/deps/real-pe")
    files = [packages / line for line in (packages / "list.txt").read_text().splitlines()]
    files += sorted(file for file in WINE.iterdir() if file.is_file())
    files += [pathlib.Path(fixtures, name) for name in
              ("plain.exe", "plain32.exe", "library.dll", "german.exe", "japanese.exe",
               "chinese.exe", "icon_several.exe", "icon_same.exe")]
    several = 0
    unmapped = 0
    compared = {"strings": 0, "icons": 0}
    differences = 0
    for file, ours, strings in zip(files, read(program, files), exiftool(files)):
        # The tool reads every version resource and keeps the last string of a name; the system
        # takes the one with the id 1 alone, in one language of several.
        languages = [language for name, language in resources(file, "16") if name == "1"]
        several += len(languages) > 1
        if not languages:
            strings = ["", "", "", ""]
        # The file's own name stands in for a missing one, and the tool leaves trailing blanks out.
        if not strings[0]:
            strings[0] = file.name
        for tag, mine, theirs in zip(TAGS, ours, strings):
            compared["strings"] += bool(theirs)
            if len(languages) < 2 and mine.strip() != theirs.strip():
                differences += 1
                print(f"{file}: {tag}: {mine!r}, exiftool {theirs!r}")
        icon = first_icon(file)
        if icon and not is_mapped(file):
            unmapped += 1
            icon = ""
        compared["icons"] += bool(icon)
        if ours[4] != icon:
            differences += 1
            print(f"{file}: icon: {ours[4]!r}, wrestool {icon!r}")
    print(f"{len(files)} files, {compared['strings']} strings and {compared['icons']} icons "
          f"compared, {differences} differences; {several} files in several languages left out, "
          f"{unmapped} icons of other processors' images not read")
    sys.exit(1 if differences or several > 5 or unmapped > 5 or compared["strings"] < 1000
             or compared["icons"] < 20 else 0)


main()
