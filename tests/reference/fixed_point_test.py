"""The checked-in table is the one that its script prints: usage: fixed_point_test.py [Test.test]."""

import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
import fixed_point  # noqa: E402


class FixedPoint(unittest.TestCase):
    def test_table_is_what_the_script_prints(self):
        table = (pathlib.Path(__file__).resolve().parent / "fixed_point.txt").read_text()
        self.assertGreater(table.count("\n"), 1000)
        for checked_in, printed in zip(table.splitlines(), fixed_point.table().splitlines()):
            self.assertEqual(checked_in, printed)
        self.assertEqual(table, fixed_point.table())

    def test_whole_numbers_tell_a_few_results(self):
        one = fixed_point.ONE
        self.assertEqual(fixed_point.product(3 * one // 2, -one // 2), -3 * one // 4)
        self.assertEqual(fixed_point.product(-1, one // 2), -1)
        self.assertEqual(fixed_point.quotient(-one, 3 * one), (-(one // 3), -(one % 3) * one))
        self.assertEqual(fixed_point.moved(-one, -64, True), -1)


if __name__ == "__main__":
    unittest.main()
