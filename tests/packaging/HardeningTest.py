"""What the built programs are protected by, as readelf tells it of the files."""

import os
import subprocess
import sys
import unittest

PROGRAMS, OPTIMISED = sys.argv[1], sys.argv[2] == "optimised"


def told(program, *options):
    return subprocess.run(["readelf", "-W", *options, os.path.join(PROGRAMS, program)], check=True, timeout=60,
                          stdout=subprocess.PIPE, encoding="utf-8").stdout


class Hardening(unittest.TestCase):
    def test_programs_are_hardened(self):
        for program in ("tarn", "tarn-cli", "tarn-relay", "tarn-unduck"):
            with self.subTest(program):
                self.assertRegex(told(program, "-h"), r"Type:\s+DYN")  # loads at any address
                segments = told(program, "-l")
                self.assertRegex(segments, r"GNU_STACK.* RW ")
                self.assertIn("GNU_RELRO", segments)
                self.assertRegex(told(program, "-d"), r"FLAGS_1.*\bNOW\b")
                imported = told(program, "--dyn-syms")
                self.assertIn(" __stack_chk_fail@", imported)
                self.assertIn("__glibcxx_assert_fail", imported)
                if OPTIMISED and program != "tarn-unduck":  # which copies nothing
                    self.assertRegex(imported, r" __(?!stack)\w+_chk@")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
