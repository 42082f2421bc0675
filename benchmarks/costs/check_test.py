#!/usr/bin/env python3
"""Tests of check.py with invented measurements."""

import unittest

from check import combined, complaints, ratios, read_dump


def costs(**changes):
    """Returns measurements without a fault, except for the given values of the named actions (`/` is `__`)."""
    actions = {
        name: {"reports": 1, "allocations": 10.0, "bytes": 100.0, "instructions": instructions}
        for name, instructions in {
            "event/rpc/parse": 1000.0,
            "event/rpc/build": 400.0,
            "event/rpc/release": 100.0,
            "event/rpc/read": 10.0,
            "event/rpc/build_and_release": 500.0,
            "event/rpc/floor": 400.0,
            "growth/event/rpc/100/build_and_release": 500.0,
            "growth/event/rpc/100/floor": 400.0,
            "growth/event/rpc/10000/build_and_release": 50000.0,
            "growth/event/rpc/10000/floor": 40000.0,
            "chunk/1024": 50.0,
            "chunk/67108864": 50.0,
            "key_difference/8": 105.0,
            "key_difference/8/plain": 100.0,
            "key_difference/20000": 1000.0,
            "key_difference/200000": 19999.0,
        }.items()
    }
    for name, change in changes.items():
        actions[name.replace("__", "/")].update(change)
    return actions


class Complaints(unittest.TestCase):
    reached = ratios(costs())

    def complaint(self, **changes):
        return list(complaints(costs(**changes), self.reached))

    def test_none_about_what_was_reached(self):
        self.assertEqual(self.complaint(), [])

    def test_none_within_the_tolerance(self):
        self.assertEqual(self.complaint(event__rpc__build={"instructions": 419.0}), [])

    def test_more_instructions_to_build(self):
        self.assertEqual(
            self.complaint(event__rpc__build={"instructions": 430.0}),
            [
                "event/rpc: build grew to 0.430 of the instructions of parse, reached was 0.400: "
                "430 instructions a report to 1,000"
            ],
        )

    def test_more_instructions_over_the_floor(self):
        self.assertEqual(
            self.complaint(event__rpc__build_and_release={"instructions": 530.0}),
            [
                "event/rpc: build_and_release grew to 1.325 of the instructions of floor, reached was 1.250: "
                "530 instructions a report to 400"
            ],
        )

    def test_another_number_of_allocations(self):
        self.assertEqual(
            self.complaint(event__rpc__build_and_release={"allocations": 11.0}),
            ["event/rpc: 11.00 allocations a report, the floor has 10.00"],
        )

    def test_fewer_bytes_than_the_floor(self):
        self.assertEqual(
            self.complaint(event__rpc__build_and_release={"bytes": 99.0}),
            ["event/rpc: 99.00 bytes a report, the floor has 100.00"],
        )

    def test_an_element_that_costs_more_in_a_large_report(self):
        self.assertEqual(
            self.complaint(growth__event__rpc__10000__build_and_release={"instructions": 60000.0}),
            ["event/rpc: 1.500 of the floor's instructions at 10,000 elements, 1.250 at 100"],
        )

    def test_a_large_chunk_that_costs_more(self):
        self.assertEqual(
            self.complaint(chunk__67108864={"instructions": 70.0}),
            ["the cost of a chunk depends on its size: 1024 bytes 50 instructions, 67108864 bytes 70 instructions"],
        )

    def test_a_difference_of_few_keys_that_costs_more_than_linear_searches(self):
        self.assertEqual(
            self.complaint(key_difference__8={"instructions": 106.0}),
            ["a difference of 8 keys takes 106 instructions, linear searches take 100"],
        )

    def test_a_difference_whose_cost_is_not_linear(self):
        self.assertEqual(
            self.complaint(key_difference__200000={"instructions": 20000.0}),
            ["a difference of 200,000 keys takes 20,000 instructions, 20.0 times those of 20,000 keys"],
        )

    def test_a_report_that_nothing_was_written_down_of(self):
        self.reached = {}
        self.assertEqual(self.complaint(), ["event/rpc: measured and written down differ: run check.py with --write"])


DUMP = """events: Ir
desc: Trigger: Client Request: event/rpc/build
fn=(1) main
totals: 430
"""


class Dumps(unittest.TestCase):
    def test_a_run_of_an_action(self):
        self.assertEqual(read_dump(DUMP), ("event/rpc/build", 430))

    def test_the_last_of_the_program_which_has_no_name(self):
        self.assertEqual(read_dump("desc: Trigger: Program termination\ntotals: 7\n"), (None, 0))

    def test_numbers_of_one_report(self):
        self.assertEqual(
            combined("event/rpc/build\t2\t20\t200\n", {"event/rpc/build": [430, 450]}),
            {"event/rpc/build": {"reports": 2, "allocations": 10.0, "bytes": 100.0, "instructions": 440.0}},
        )

    def test_a_dump_that_is_missing_or_empty_ends_it(self):
        for dumped in ([430], [430, 0]):
            with self.assertRaisesRegex(SystemExit, "event/rpc/build ran 2 times"):
                combined("event/rpc/build\t2\t20\t200\n", {"event/rpc/build": dumped})


if __name__ == "__main__":
    unittest.main()
