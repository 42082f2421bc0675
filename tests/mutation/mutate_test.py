#!/usr/bin/env python3
"""Tests the page of figures that mutate.py writes."""

import argparse
import collections
import unittest

import mutate

PAGE = """# Figures: mutation testing

`./dev mutate` writes this page after a successful run of the default size, 250 mutants.

| `./dev mutate 250 7` | |
|---|---:|
| mutants | 250 |
| killed | 231 (92.4%) |
| survived | 19 |
| survived without a change of behaviour | 15 |
| killed of those that change behaviour | 98.3% |
| changes that do not compile, and no mutants | 63 |
| changes that generate the same code, and no mutants | 8 |
"""


def arguments(**changes):
    return argparse.Namespace(**({"count": 250, "seed": 7, "kinds": None, "files": ""} | changes))


class Figures(unittest.TestCase):
    def test_page_has_the_counts_of_the_run(self):
        counts = {"killed": 231, "survived": 19, "same": 15, "not compiled": 63, "same code": 8}
        self.assertEqual(mutate.page(arguments(), collections.Counter(counts)), PAGE)

    def test_a_run_without_mutants_has_no_share(self):
        self.assertEqual(mutate.share_killed(collections.Counter()), 0)

    def test_only_a_successful_run_of_the_default_size_writes_to_docs(self):
        for changes, fails, expected in (
            ({}, False, "docs/figures/mutation.md"),
            ({"seed": 8}, False, "docs/figures/mutation.md"),
            ({}, True, "build/mutation/figures.md"),
            ({"count": 251}, False, "build/mutation/figures.md"),
            ({"kinds": "comparison"}, False, "build/mutation/figures.md"),
            ({"files": ".cpp"}, False, "build/mutation/figures.md"),
        ):
            with self.subTest(changes=changes, fails=fails):
                self.assertEqual(mutate.place_of_page(arguments(**changes), fails), expected)


if __name__ == "__main__":
    unittest.main()
