"""Manual pages and completions against what the programs say of themselves; files that name each other."""

import configparser
import os
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree

SOURCES, PROGRAMS = sys.argv[1:3]
OPTION = re.compile(r"--[a-z][a-z-]+")


def read(*path):
    with open(os.path.join(SOURCES, *path), encoding="utf-8") as text:
        return text.read()


def helped(*command):
    """Options and subcommands that the program's help lists."""
    text = subprocess.run([os.path.join(PROGRAMS, command[0]), *command[1:], "--help"], check=True, timeout=20,
                          stdout=subprocess.PIPE, encoding="utf-8").stdout
    options, _, commands = text.partition("Subcommands:")
    names = re.findall(r"^  ([a-z][a-z-]*)", commands, re.MULTILINE)
    found = set(re.findall(r"^  (?:-h,|FILE [A-Z]+,)?(--[a-z-]+)", options, re.MULTILINE)) | set(names)
    for name in names:
        found |= helped(*command, name)
    return found


def manual(program):
    """Options and subcommands that the manual page describes."""
    text = read("packaging", "man", program + ".1")
    options = {"--" + name for name in re.findall(r"Fl Fl ([a-z-]+)", text)}
    commands = text.partition("The commands:")[2].partition("\n.El")[0]
    return options | set(re.findall(r"^\.It Cm ([a-z-]+)", commands, re.MULTILINE))


def completed(program, *words):
    """What the shell offers after these words."""
    script = ('compopt() { :; }; . "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
              '"$(complete -p "$1" | sed "s/.*-F //; s/ .*//")"; printf "%s\\n" "${COMPREPLY[@]}"')
    run = subprocess.run(["bash", "-c", script, "bash", os.path.join(SOURCES, "packaging", "completion", program), program,
                          *words], check=True, timeout=20, stdout=subprocess.PIPE, encoding="utf-8",
                         env={"PATH": PROGRAMS + ":/usr/bin:/bin"})
    return set(run.stdout.split())


class Documents(unittest.TestCase):
    def test_manuals_and_completions_know_the_options_that_there_are(self):
        for program in ("tarn-cli", "tarn-relay"):
            known = helped(program)
            self.assertIn("--help", known)
            self.assertEqual(manual(program), known, program)
            offered = completed(program, "")
            if program == "tarn-cli":
                offered |= completed(program, "login", "")
            self.assertEqual(offered, known, program)
            zsh = read("packaging", "completion", "zsh", "_" + program)
            offered = set(OPTION.findall(zsh)) | set(re.search(r"1:command:\((.*)\)", zsh).group(1).split())
            self.assertEqual(offered, known, program)

    def test_values_are_completed_where_there_are_few(self):
        for words, offered in (
                (("tarn-cli", "--source", ""), {"system", "mic", "application"}),
                (("tarn-cli", "--source", "system", "--form"), {"--format"}),
                (("tarn-cli", "--format", "=", "j"), {"jsonl"}),
                (("tarn-cli", "--dub", "pl"), {"play"}),
                (("tarn-cli", "--server", ""), set()),
                (("tarn-relay", "--engine", "off"), {"offline"}),
                (("tarn-relay", "issue-token", ""), set()),
                (("tarn", ""), {"doctor"}),
                (("tarn", "doctor", ""), {"--json"})):
            self.assertEqual(completed(*words), offered, words)

    def test_every_action_of_the_menu_entry_is_one_of_the_program(self):
        entry = configparser.ConfigParser(interpolation=None, delimiters=("=",))
        entry.optionxform = str
        entry.read_string(read("packaging", "com.ostrel.tarn.desktop"))
        actions = entry["Desktop Entry"]["Actions"].rstrip(";").split(";")
        self.assertEqual(entry.sections(), ["Desktop Entry"] + ["Desktop Action " + action for action in actions])
        answered = read("TarnApp", "shell", "TarnApp.cpp")
        for action in actions:
            self.assertEqual(entry["Desktop Action " + action]["Exec"], "gapplication action com.ostrel.tarn " + action)
            self.assertIn('"%s"' % action, answered)

    def test_only_those_who_sit_at_the_machine_have_a_relay(self):
        for unit in ("tarn-relay.socket", "tarn-relay.service.in"):
            parsed = configparser.ConfigParser(strict=False, interpolation=None, delimiters=("=",))
            parsed.read_string(read("packaging", "systemd", unit))
            self.assertEqual(parsed["Unit"]["ConditionUser"], "!@system", unit)

    def test_versions_agree(self):
        version = re.search(r"project\(tarn VERSION ([0-9.]+)", read("CMakeLists.txt")).group(1)
        self.assertTrue(read("packaging", "debian", "changelog").startswith("tarn (%s) " % version))
        releases = ElementTree.fromstring(read("packaging", "com.ostrel.tarn.metainfo.xml")).findall("releases/release")
        self.assertEqual(releases[0].get("version"), version)
        said = subprocess.run([os.path.join(PROGRAMS, "tarn-cli"), "--version"], check=True, timeout=20,
                              stdout=subprocess.PIPE, encoding="utf-8").stdout
        self.assertEqual(said.split()[-1], version)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
