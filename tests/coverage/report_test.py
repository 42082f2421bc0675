#!/usr/bin/env python3
"""Tests the page of figures that report.py writes."""

import unittest

import report

PAGE = """# Figures: coverage

`./dev coverage` writes this page if `tests/coverage/uncovered.tsv` explains every uncovered line.

| Of `libs/tarnwick` | All | Covered |
|---|---:|---:|
| lines | 1,200 | 1,197 (99.8%) |
| branches | 3 | 2 (66.7%) |
| outcomes of conditions | 6 | 5 (83.3%) |
"""


class Figures(unittest.TestCase):
    def test_page_sums_up_all_files(self):
        one, other = report.File(), report.File()
        one.lines.update({line: 1 for line in range(1, 201)})
        one.branches.update({(1, 2, 0): 4, (1, 2, 1): 0})
        one.conditions[1, 0, 4] = {(0, True)}
        other.lines.update({line: line > 3 for line in range(1, 1001)})
        other.branches[1, 1, 0] = 1
        other.conditions[1, 0, 2] = set()
        self.assertEqual(report.page(report.figures([one, other])), PAGE)


if __name__ == "__main__":
    unittest.main()
