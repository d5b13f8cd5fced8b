#!/usr/bin/python3
"""Compares the options and exit statuses of each program with its help, its manual page and its
completions.

Environment: CC_PROGRAMS has the directories of the programs, separated by colons. PluginTest needs
python3-nagiosplugin; without arguments, only OptionsTest runs.
"""

import os
import pathlib
import re
import string
import subprocess
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
PATH = f"{os.environ['CC_PROGRAMS']}:{SOURCE / 'integrations/monitoring'}:{os.environ['PATH']}"
COMPLETE = """
source "$1" && function=$(complete -p "$2" | sed 's/.* -F \\([^ ]*\\).*/\\1/')
COMP_WORDS=("${@:2}") COMP_CWORD=$(($# - 2))
$function "$2"
printf '%s\\n' "${COMPREPLY[@]}"
"""


def run(*command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          errors="replace", timeout=60, env={**os.environ, "PATH": PATH})


def names_with_values(pairs):
    """Returns the set of (name, whether the option takes a value)."""
    return {(name, bool(value)) for name, value in pairs if name}


def bash_completes(command, *words):
    """Returns what bash offers for the last word."""
    made = run("bash", "-c", COMPLETE, "bash", SOURCE / "completions/bash" / command, command, *words)
    if (made.returncode, made.stderr) != (0, ""):
        raise AssertionError(made.stderr)
    return made.stdout.split()


def bash_offers(command, word):
    """Returns the options that bash completes: the long name of an option that has both."""
    return {name for name in bash_completes(command, word) if name.startswith("-")}


def zsh_entries(command):
    """Yields the (name, sign of a value) pairs of each entry, its description and its values."""
    text = (SOURCE / "completions/zsh" / f"_{command}").read_text(encoding="utf-8")
    for entry in re.findall(r"(?m)^    '(?:\([^)]*\))?(.*)", text):
        names = re.findall(r"(--?[\w-]+)([+=]?)(?=[,}\[])", entry.partition("[")[0] + "[")
        values = re.search(r":\(([\w ]+)\)'", entry)
        yield names, re.search(r"\[([^]]*)\]|$", entry).group(1), values and values.group(1)


def fish_entries(command):
    """Yields the (name, sign of a value) pairs of each entry, its description and its values."""
    text = (SOURCE / f"completions/fish/{command}.fish").read_text(encoding="utf-8")
    for line in re.findall(r"(?m)^complete -c .*", text):
        bare = re.sub(r"'[^']*'|\"[^\"]*\"", "", line)
        names = [(dash * "-" + name, re.search(r" -(x|r)", bare))
                 for dash, letter in ((1, "s"), (1, "o"), (2, "l"))
                 for name in re.findall(rf" -{letter} (\S+)", bare)]
        values = re.search(r" -x?a '([\w ]+)'", line)
        yield names, re.search(r" -d ['\"](.*)['\"]|$", line).group(1), values and values.group(1)


def options_of(entries):
    return names_with_values(pair for names, _, _ in entries for pair in names)


def texts_of(entries):
    """Returns the description, in lower case at its start, and the values of each option."""
    return {name: (text and text[0].lower() + text[1:], values)
            for names, text, values in entries for name, _ in names}


def manual_section(page, heading):
    text = (SOURCE / "docs/man" / page).read_text(encoding="utf-8")
    return re.search(rf"(?ms)^\.Sh {heading}\n(.*?)(?=^\.Sh |\Z)", text).group(1)


def plain(mdoc):
    """Returns the text of lines without the macros that mark an option or a value."""
    words = []
    for line in mdoc.splitlines():
        line = re.sub(r"\bFl ", "-", line.removeprefix(".")) if line.startswith(".") else line
        words += re.sub(r"\b(Cm|Ar|Pa|Sx) ", "", line).split()
    return re.sub(r" ([,.;:])", r"\1", " ".join(words))


def first_sentence(text):
    """Returns the first sentence without period, in lower case except for an abbreviation."""
    sentence = re.match(r".*?(?=\.(?: |$)|$)", text).group(0)
    return sentence if re.match(r"[A-Z]{2}", sentence) else sentence[0].lower() + sentence[1:]


class Program:
    def __init__(self, name, page):
        self.name, self.page = name, page
        self.help = run(name, "--help").stdout

    def accepted(self):
        """Returns the options that a companion accepts, as derived from its error messages."""
        return self.accepted_long() | self.accepted_short()

    def accepted_long(self):
        # The message about an abbreviated option lists all names with this prefix.
        names = {name for letter in string.ascii_lowercase for name in re.findall(
            rf"--{letter}[a-z-]*", self.refusal(f"--{letter}").partition("did you mean")[2])}
        return {(name, "takes no value" not in self.refusal(f"{name}=x", "--help"))
                for name in names}

    def accepted_short(self):
        names = [f"-{letter}" for letter in string.ascii_letters
                 if "is not an option" not in self.refusal(f"-{letter}", "--help")]
        # If the option takes a value, `h` is its value and does not show the help.
        return {(name, run(self.name, f"{name}h").stdout == "") for name in names}

    def refusal(self, *arguments):
        return run(self.name, *arguments).stderr

    def in_help(self):
        lines = re.findall(
            r"(?m)^  (-[\w-]+)( [A-Z]+)?(?:, (--[\w-]+)( [A-Z]+)?)?(?=  |$)", self.help)
        return names_with_values(pair for line in lines
                                 for pair in ((line[0], line[1] or line[3]), (line[2], line[3])))

    def in_manual(self):
        items = re.findall(r"(?m)^\.It (Fl .*)", manual_section(self.page, "OPTIONS"))
        return names_with_values((f"-{name}", " Ar " in item) for item in items
                                 for name in re.findall(r"Fl (\S+)", item))

    def values_in_manual(self, name):
        options = manual_section(self.page, "OPTIONS")
        item = re.search(rf"(?ms)^\.It Fl {name[1:]}\b(.*?)^\.It", options).group(1)
        return set(re.findall(r"(?m)^\.Cm (\w+)", item))

    def statuses_in_help(self):
        text = self.help.partition("Exit statuses")[2]
        return {status: first_sentence(" ".join(meaning.split())) for status, meaning in re.findall(
            r"(?m)^ {2,4}(\d+(?: \+ n)?)  (.*(?:\n {7}.*)*)", text)}

    def statuses_in_manual(self):
        items = manual_section(self.page, "EXIT STATUS").partition(".El")[0].split(".It ")[1:]
        return {status: first_sentence(plain(meaning))
                for status, _, meaning in (item.partition("\n") for item in items)}


def long_or_only(options, program):
    """Returns the names without the short name of an option that has both."""
    both = set(re.findall(r"(?m)^  (-\w)(?: [A-Z]+)?, --", program.help))
    return {name for name, _ in options} - both


class ProgramTest(unittest.TestCase):
    maxDiff = None

    def check_program(self, program, accepted):
        self.assertEqual(program.in_help(), accepted, "help")
        self.assertEqual(program.in_manual(), accepted, program.page)
        self.assertEqual(options_of(zsh_entries(program.name)), accepted, "zsh")
        self.assertEqual(options_of(fish_entries(program.name)), accepted, "fish")
        self.check_texts(program)
        self.assertEqual(bash_offers(program.name, "-"), long_or_only(accepted, program), "bash")
        self.assertEqual(program.statuses_in_help(), program.statuses_in_manual(), "exit status")
        self.check_help(program)

    def check_texts(self, program):
        """Compares the descriptions in completions, and values in these and in the manual page."""
        zsh, fish = texts_of(zsh_entries(program.name)), texts_of(fish_entries(program.name))
        self.assertEqual({name: text for name, (text, _) in zsh.items()},
                         {name: text for name, (text, _) in fish.items()}, "descriptions")
        for name, (_, values) in zsh.items():
            if values and not values[0].isdigit():
                self.assertEqual(fish[name][1], values, name)
                self.assertEqual(bash_completes(program.name, name, ""), values.split(), name)
                self.assertEqual(program.values_in_manual(name), set(values.split()), name)

    def check_help(self, program):
        self.assertEqual([line for line in program.help.splitlines() if len(line) > 80], [])
        self.assertRegex(program.help.splitlines()[0], rf"(?i)^usage: {program.name} ")
        name, section = program.page.rsplit(".", 1)
        self.assertTrue(program.help.endswith(f"\n\nManual page: {name}({section})\n"))


class OptionsTest(ProgramTest):
    def check_companion(self, name):
        program = Program(name, f"{name}.1")
        accepted = program.accepted()
        self.assertIn(("--help", False), accepted)
        self.check_program(program, accepted)
        return program

    def test_help_manual_completions_of_compliance_query_agree(self):
        program = self.check_companion("compliance-query")
        statuses = [status for status in program.statuses_in_help() if status.isdigit()]
        explained = [*statuses, "129", "130", "143"]
        for status in explained:
            self.assertEqual(run(program.name, "--explain", status).returncode, 0)
        self.assertEqual(texts_of(zsh_entries(program.name))["--explain"][1], " ".join(explained))
        self.assertEqual(bash_completes(program.name, "--explain", ""), explained)
        fish = (SOURCE / f"completions/fish/{program.name}.fish").read_text(encoding="utf-8")
        self.assertIn(f"'(seq 0 {statuses[-1]}) {' '.join(explained[len(statuses):])}'", fish)

    def test_help_manual_completions_of_other_companions_agree(self):
        for name in ("compliance-report", "compliance-diff", "compliance-doctor"):
            with self.subTest(name=name):
                self.check_companion(name)

    def test_help_manual_completions_of_stand_in_agent_agree(self):
        source = (SOURCE / "demo/main.cpp").read_text(encoding="utf-8")
        names = re.findall(r'strcmp\(arguments\[1\], "(--[a-z]+)"\)', source)
        self.assertEqual(len(names), 3)
        self.check_program(Program("VeskaClient", "VeskaClient.1"),
                           {(name, False) for name in names})

    def test_help_manual_completions_of_tool_agree(self):
        usage = run("ClientCompliance", "--help").stdout
        accepted = set(re.findall(r"ClientCompliance (-\w)\b", usage))
        self.assertEqual(accepted, {"-c", "-d"})
        items = re.findall(r"(?m)^\.It Fl (\S+)", manual_section("ClientCompliance.1", "OPTIONS"))
        self.assertEqual({f"-{name}" for name in items}, accepted)
        self.assertEqual(bash_offers("ClientCompliance", ""), accepted)
        self.assertEqual(set(texts_of(zsh_entries("ClientCompliance"))), accepted)
        self.assertEqual(set(texts_of(fish_entries("ClientCompliance"))), accepted)


class PluginTest(ProgramTest):
    def test_help_manual_completions_of_check_compliance_agree(self):
        source = (SOURCE / "integrations/monitoring/check_compliance").read_text(encoding="utf-8")
        calls = re.findall(r'\badd\(("-[^)]*)', source)
        accepted = {(name, "metavar=" in call) for call in calls
                    for name in re.findall(r'"(--?[a-zA-Z-]+)"', call.partition("=")[0])}
        self.assertIn(("--result", True), accepted)
        self.check_program(Program("check_compliance", "check_compliance.1"), accepted)


if __name__ == "__main__":
    unittest.main(defaultTest="OptionsTest", verbosity=2)
