"""The program as its users run it: real processes, real files, what they print and how they end.

Run by ctest, one test method a case:
    orvu_test.py PROGRAM [--emulator WRAPPER] --fixtures DIR CLASS.METHOD
"""
import argparse
import json
import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

OPTIONS = None
DONE, NOTHING, USAGE = 0, 1, 2


def library(*rules, version=1, category="test"):
    return {"apprule": {"version": version, "category": category, "rules": list(rules)}}


def rule(appid, *elements):
    return {"appid": appid, "elements": list(elements)}


class OrvuTest(unittest.TestCase):
    def setUp(self):
        # A folder of the build's: under Wine it is reached by the same name.
        base = pathlib.Path(OPTIONS.fixtures).parent / "e2e"
        base.mkdir(parents=True, exist_ok=True)
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=base))
        self.home = self.folder / "home"
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def command(self, *arguments, home=True):
        line = [OPTIONS.emulator] if OPTIONS.emulator else []
        line += [OPTIONS.program, *map(str, arguments)]
        return line + (["--home", str(self.home)] if home else [])

    def orvu(self, *arguments, stdin=None, home=True, timeout=120):
        return subprocess.run(
            self.command(*arguments, home=home), input=stdin, capture_output=True, text=True,
            encoding="utf-8", timeout=timeout)

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(content, bytes):
            path.write_bytes(content)
        else:
            text = content if isinstance(content, str) else json.dumps(content)
            path.write_text(text, encoding="utf-8")
        return path

    def fixture(self, name):
        path = pathlib.Path(OPTIONS.fixtures) / name
        self.assertTrue(path.exists(), path)
        return path

    def identify(self, rules, *paths, stdin=None):
        """The answers of identify --json for a library of these rules, by path's last component."""
        file = self.write("library.json", library(*rules))
        result = self.orvu("identify", "--json", "--library", file, *paths, stdin=stdin)
        answers = [json.loads(line) for line in result.stdout.splitlines()]
        return result, answers


class Identify(OrvuTest):
    def test_a_version_string_of_a_real_file_gives_its_appid(self):
        file = self.fixture("plain.exe")
        described = json.loads(self.orvu("describe", "--json", file).stdout)
        self.assertTrue(described["productname"])
        result, answers = self.identify(
            [rule(71, {"productname": described["productname"]}), rule(72, {"productname": "?"})],
            file)
        self.assertEqual(result.returncode, DONE, result.stderr)
        self.assertEqual(answers[0]["appids"], [71])
        self.assertEqual(answers[0]["outcome"], "identified")
        self.assertEqual(set(answers[0]), {"path", "appids", "outcome"})

    def test_every_attribute_that_describe_prints_identifies_the_file(self):
        file = self.fixture("plain.exe")
        described = json.loads(self.orvu("describe", "--json", file).stdout)
        keys = [key for key in described if key != "path" and described[key]]
        self.assertGreaterEqual(len(keys), 6, described)
        rules = [rule(100 + i, {key: described[key]}) for i, key in enumerate(keys)]
        result, answers = self.identify(rules, file)
        self.assertEqual(answers[0]["appids"], [100 + i for i in range(len(keys))], result.stderr)

    def test_all_stated_attributes_must_hit(self):
        file = self.fixture("plain.exe")
        described = json.loads(self.orvu("describe", "--json", file).stdout)
        result, answers = self.identify(
            [rule(1, {"productname": described["productname"], "signer": "Nobody"})], file)
        self.assertEqual(result.returncode, NOTHING)
        self.assertEqual(answers[0]["appids"], [])
        self.assertEqual(answers[0]["outcome"], "no rule")

    def test_a_path_rule_matches_without_regard_to_case_and_with_a_wildcard(self):
        file = self.write("Some Folder/Deep/Tool.EXE", b"no program")
        result, answers = self.identify([rule(9, {"procpath": "\\SOME folder\\*\\tool.exe"})], file)
        self.assertEqual(answers[0]["appids"], [9], result.stderr)

    def test_a_missing_file_is_decided_by_its_name_with_a_remark(self):
        missing = self.folder / "gone.exe"
        result, answers = self.identify([rule(5, {"originalname": "gone.exe"})], missing)
        self.assertEqual(result.returncode, DONE)
        self.assertEqual(answers[0]["appids"], [5])
        self.assertIn("gone.exe: no such file", result.stderr)

    def test_two_libraries_claim_one_appid_and_the_lower_tag_keeps_it(self):
        low = self.write("low.json", library(rule(7, {"originalname": "low.exe"})))
        high = self.write("high.json", library(rule(7, {"originalname": "high.exe"})))
        result = self.orvu("identify", "--json", "--library", f"b={high}", "--library", f"a={low}",
                           self.folder / "low.exe", self.folder / "high.exe")
        answers = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual([answer["appids"] for answer in answers], [[7], []], result.stderr)

    def test_standard_input_is_answered_line_by_line_in_order(self):
        file = self.write("library.json", library(*(
            rule(n, {"originalname": f"{n}.exe"}) for n in range(1, 4))))
        process = subprocess.Popen(
            self.command("identify", "--json", "--library", file, "-"), stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, encoding="utf-8")
        with process:
            for n in (3, 1, 2):
                process.stdin.write(str(self.folder / f"{n}.exe") + "\n")
                process.stdin.flush()
                self.assertEqual(json.loads(process.stdout.readline())["appids"], [n])
            process.stdin.close()
            self.assertEqual(process.stdout.read(), "")
            self.assertEqual(process.wait(60), DONE)

    def test_the_table_for_people_names_the_category(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        result = self.orvu("identify", "--library", f"mine={file}", self.folder / "x.exe")
        header, row = result.stdout.splitlines()
        self.assertEqual(header.split()[0], "APPID")
        self.assertEqual(row.split()[:2], ["5", "mine/test"])

    def test_a_run_leaves_nothing_but_the_home_folders_behind(self):
        self.identify([rule(5, {"originalname": "x.exe"})], self.folder / "x.exe")
        left = sorted(str(path.relative_to(self.home)) for path in self.home.rglob("*"))
        self.assertEqual(left, ["bin", "log", "var"])

    def test_a_reader_that_goes_away_ends_the_run_and_leaves_nothing_behind(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        process = subprocess.Popen(
            self.command("identify", "--library", file, "-"), stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        process.stdout.readline()
        process.stdout.close()
        try:
            process.stdin.write(b"x.exe\n" * 20000)
            process.stdin.close()
        except BrokenPipeError:
            pass
        process.wait(60)
        self.assertEqual(list((self.home / "var").iterdir()), [])

    def test_a_very_long_line_of_input_is_no_path_and_the_next_is_answered(self):
        lines = "a" * 100_000 + "\n" + str(self.folder / "x.exe") + "\n"
        result, answers = self.identify([rule(5, {"originalname": "x.exe"})], "-", stdin=lines)
        self.assertEqual([answer["appids"] for answer in answers], [[5]])
        self.assertIn("is no path", result.stderr)

    def test_a_path_of_more_than_260_characters_is_still_identified(self):
        path = self.folder / "/".join(["folder-of-thirty-characters-xx"] * 12) / "x.exe"
        result, answers = self.identify([rule(5, {"originalname": "x.exe"})], path)
        self.assertEqual(answers[0]["appids"], [5], result.stderr)


class LibraryErrors(OrvuTest):
    def refused(self, content, *words):
        file = self.write("broken.json", content) if content is not None else self.folder / "none"
        result = self.orvu("identify", "--library", file, "x.exe")
        self.assertEqual(result.returncode, NOTHING)
        self.assertEqual(result.stdout, "")
        for word in (file.name, *words):
            self.assertIn(word, result.stderr)

    def test_a_missing_library_is_named(self):
        self.refused(None, "expected a rule library")

    def test_a_library_that_is_no_json_is_named_with_the_line(self):
        self.refused('{"apprule": {\n"category": "x",\n oops\n}}', "broken.json:3", "expected")

    def test_an_empty_library_is_refused(self):
        self.refused("", "expected")

    def test_a_library_without_apprule_is_refused(self):
        self.refused({"rules": []}, "has no \"apprule\"", "expected")

    def test_a_library_that_yields_no_rule_is_refused(self):
        self.refused(library(), "yields no rule", "expected")
        self.refused(library({"appid": 1}), "yields no rule")
        self.refused({"apprule": {"rules": [rule(1, {"signer": "x"})]}}, "yields no rule")

    def test_a_folder_is_no_library(self):
        result = self.orvu("identify", "--library", self.folder, "x.exe")
        self.assertEqual(result.returncode, NOTHING)
        self.assertIn("expected", result.stderr)

    def test_a_library_nested_without_end_is_refused(self):
        self.refused('{"apprule":' * 5000, "expected")

    def test_one_tag_for_two_libraries_is_wrong_use(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        result = self.orvu("identify", "--library", file, "--library", file, "x.exe")
        self.assertEqual(result.returncode, USAGE)
        self.assertIn("given twice", result.stderr)


class Describe(OrvuTest):
    KEYS = ["path", "signer", "iconhash", "productname", "originalname", "copyright",
            "description", "procpath"]

    def test_the_seven_attributes_have_the_keys_of_a_rule_element(self):
        result = self.orvu("describe", "--json", self.fixture("plain.exe"))
        self.assertEqual(result.returncode, DONE)
        self.assertEqual(list(json.loads(result.stdout)), self.KEYS)

    def test_a_file_that_states_nothing_has_its_name_and_path(self):
        file = self.write("bare.exe", b"nothing of a program")
        answer = json.loads(self.orvu("describe", "--json", file).stdout)
        self.assertEqual(answer["originalname"], "bare.exe")
        self.assertTrue(answer["procpath"].endswith("\\bare.exe"))
        for key in ("signer", "iconhash", "productname", "copyright", "description"):
            self.assertIsNone(answer[key])

    def test_several_files_and_standard_input_are_answered_in_order(self):
        names = ["plain.exe", "german.exe", "japanese.exe"]
        files = [self.fixture(name) for name in names]
        result = self.orvu("describe", "--json", files[0], "-", stdin=f"{files[1]}\n{files[2]}\n")
        paths = [json.loads(line)["path"] for line in result.stdout.splitlines()]
        self.assertEqual([path.replace("\\", "/").split("/")[-1] for path in paths], names)

    def test_a_missing_file_is_told_and_the_others_are_described(self):
        result = self.orvu("describe", "--json", self.folder / "none", self.fixture("plain.exe"))
        self.assertEqual(result.returncode, NOTHING)
        self.assertEqual(len(result.stdout.splitlines()), 1)
        self.assertIn("no such file", result.stderr)

    def test_what_a_file_says_cannot_steer_the_terminal(self):
        file = self.write("x.exe", b"")
        renamed = file.with_name("evil\x1b[31m.exe") if os.name == "posix" else file
        if not OPTIONS.emulator:
            file.rename(renamed)
            result = self.orvu("describe", renamed)
            self.assertNotIn("\x1b", result.stdout)
            self.assertIn("\ufffd[31m", result.stdout)
        else:
            self.assertNotIn("\x1b", self.orvu("describe", self.fixture("plain.exe")).stdout)


class Signers(OrvuTest):
    """Who signed, and whom to trust, are two facts: the policy only decides which names are given."""

    def signed(self, name):
        path = pathlib.Path(OPTIONS.fixtures).parent / "signed" / name
        self.assertTrue(path.exists(), path)
        return path

    def expected(self, name):
        for line in self.signed("list.txt").read_text(encoding="utf-8").splitlines():
            file, _, signer = line.split("\t")
            if file == name:
                return signer
        self.fail(f"{name} isn't listed")

    def signer(self, name, trust):
        result = self.orvu("describe", "--json", "--signer-trust", trust, self.signed(name))
        self.assertEqual(result.returncode, DONE, result.stderr)
        return json.loads(result.stdout)["signer"]

    def test_an_intact_signature_gives_the_name_when_no_root_is_asked_for(self):
        for name in ("cn.exe", "cn32.exe", "ou.exe", "o.exe", "utf8.exe"):
            self.assertTrue(self.expected(name))
            self.assertEqual(self.signer(name, "none"), self.expected(name))

    def test_a_broken_signature_gives_no_name(self):
        for name in ("flipped_code.exe", "flipped_signature.exe", "truncated_signature.exe",
                     "grafted.exe", "unsigned64.exe"):
            self.assertIsNone(self.signer(name, "none"), name)

    def test_a_root_file_decides_whose_names_are_given(self):
        root, other = self.signed("root.pem"), self.signed("other_root.pem")
        self.assertEqual(self.signer("cn.exe", root), self.expected("cn.exe"))
        self.assertIsNone(self.signer("cn.exe", other))

    def test_a_file_without_certificates_is_no_policy(self):
        empty = self.write("empty.pem", "")
        for trust in (empty, self.folder / "none.pem"):
            result = self.orvu("describe", "--signer-trust", trust, self.signed("cn.exe"))
            self.assertEqual(result.returncode, NOTHING)
            self.assertIn("expected none, system, or a file", result.stderr)

    def test_a_signer_rule_identifies_what_is_signed_and_nothing_broken(self):
        file = self.write("library.json", library(rule(3, {"signer": self.expected("cn.exe")})))
        result = self.orvu("identify", "--json", "--signer-trust", "none", "--library", file,
                           self.signed("cn.exe"), self.signed("flipped_code.exe"))
        answers = [json.loads(line)["appids"] for line in result.stdout.splitlines()]
        self.assertEqual(answers, [[3], []], result.stderr)


class Usage(OrvuTest):
    def test_every_command_has_help_and_it_names_its_options(self):
        for command, words in (("describe", ["--json", "--home", "FILE"]),
                               ("identify", ["--json", "--home", "--library", "PATH"])):
            result = self.orvu(command, "--help", home=False)
            self.assertEqual(result.returncode, DONE)
            for word in words:
                self.assertIn(word, result.stdout)

    def test_wrong_use_exits_2_and_says_why(self):
        for line in ([], ["unknown"], ["describe"], ["identify", "x"], ["describe", "--no", "x"]):
            result = self.orvu(*line, home=False)
            self.assertEqual(result.returncode, USAGE, line)
            self.assertTrue(result.stderr.strip(), line)

    def test_a_home_that_cannot_be_made_is_told(self):
        blocked = self.write("file", b"")
        result = self.orvu("describe", self.fixture("plain.exe"), "--home", blocked / "x", home=False)
        self.assertEqual(result.returncode, NOTHING)
        self.assertIn("home", result.stderr)


class Signals(OrvuTest):
    def test_a_run_that_is_ended_by_a_signal_leaves_nothing_behind(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        for number in (signal.SIGTERM, signal.SIGINT):
            process = subprocess.Popen(
                self.command("identify", "--library", file, "-"), stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            with process:
                process.stdout.readline()
                process.send_signal(number)
                process.wait(60)
            self.assertEqual(list((self.home / "var").iterdir()), [])


class Terminal(OrvuTest):
    def test_a_person_sees_progress_while_the_answers_go_elsewhere(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        target = self.write("x.exe", b"")
        master, slave = os.openpty()
        with open(self.folder / "answers", "wb") as answers:
            process = subprocess.Popen(
                self.command("identify", "--json", "--library", file, "-"), stdin=subprocess.PIPE,
                stdout=answers, stderr=slave)
        os.close(slave)
        shown = b""
        deadline = time.monotonic() + 60
        with process:
            while b"identified" not in shown and time.monotonic() < deadline:
                process.stdin.write(str(target).encode() + b"\n")
                process.stdin.flush()
                if select.select([master], [], [], 0.01)[0]:
                    shown += os.read(master, 4096)
            process.stdin.close()
        os.close(master)
        self.assertRegex(shown, rb"identified \d+")


class Idle(OrvuTest):
    def cpu_seconds(self, pid):
        total = 0
        for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
            total += int((task / "schedstat").read_text().split()[0])
        return total / 1e9

    def test_an_idle_host_with_the_plug_in_loaded_uses_next_to_nothing(self):
        file = self.write("library.json", library(rule(5, {"originalname": "x.exe"})))
        process = subprocess.Popen(
            self.command("identify", "--library", file, "-"), stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        with process:
            process.stdout.readline()
            time.sleep(1)
            before, start = self.cpu_seconds(process.pid), time.monotonic()
            time.sleep(6)
            used = self.cpu_seconds(process.pid) - before
            share = used / (time.monotonic() - start)
            process.stdin.close()
            process.stdout.read()
        self.assertLess(share, 0.001, f"{used * 1000:.3f} ms of CPU time")


def main():
    global OPTIONS
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("case")
    parser.add_argument("--emulator")
    parser.add_argument("--fixtures", required=True)
    OPTIONS = parser.parse_args()
    suite = unittest.defaultTestLoader.loadTestsFromName(OPTIONS.case, sys.modules[__name__])
    ran = unittest.TextTestRunner(stream=sys.stderr).run(suite)
    sys.exit(0 if ran.testsRun == 1 and ran.wasSuccessful() else 1)


if __name__ == "__main__":
    main()
