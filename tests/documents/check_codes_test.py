"""Sees whether check_codes.py finds what is wrong."""

import unittest

from check_codes import breaches

SOURCE = """
  // failed("name", "notThisOne", "")
  return failed("name", "noSuchName", "no such name: " + host, "check");
  finding =
      warned("tls", isNear ? "expiresSoon" : "expired",
             "text", "todo");
  return skipped("name", "numeric", host + " is an address");
  return good("name", "fine"), skipped("tls", "notReached", "");
"""
DOCUMENT = """
## Other

| `tls` | `other` | no table of codes |

## orv doctor

Beside `good`:

| check | code | means |
|---|---|---|
| `name` | `noSuchName` | it is not known |
| | `numeric` | skipped |
| `tls` | `expiresSoon`, `expired` | dates, see `name` |
| any | `notReached` | skipped |

## More

| `log` | `large` | no more codes |
"""


class CheckCodes(unittest.TestCase):
    def wrong(self, source=SOURCE, document=DOCUMENT):
        return breaches([("a.cpp", source)], document)

    def test_finds_nothing_where_all_is_well(self):
        self.assertEqual(self.wrong(), [])

    def test_finds_a_code_that_the_table_lacks(self):
        without = DOCUMENT.replace("| | `numeric` | skipped |\n", "")
        self.assertEqual(self.wrong(document=without), ["the table lacks name numeric"])
        self.assertEqual(self.wrong(document=DOCUMENT.replace(", `expired`", "")), ["the table lacks tls expired"])

    def test_finds_a_code_of_another_check(self):
        moved = DOCUMENT.replace("| | `numeric`", "| `tls` | `numeric`")
        self.assertEqual(
            self.wrong(document=moved),
            ["the table lacks name numeric", "nothing comes to tls numeric, which the table names"],
        )

    def test_finds_a_code_that_nothing_comes_to(self):
        self.assertEqual(
            self.wrong(source=SOURCE.replace('"numeric"', '"noSuchName"')),
            ["nothing comes to name numeric, which the table names"],
        )

    def test_finds_a_code_that_stands_there_twice(self):
        doubled = DOCUMENT.replace("`noSuchName` |", "`noSuchName`, `noSuchName` |")
        self.assertEqual(self.wrong(document=doubled), ["the table names name noSuchName twice"])

    def test_finds_what_it_cannot_read(self):
        for call in ('failed(check, "noAnswer", "")', 'failed("name", code, "")', 'skipped("name", codeOf(1), "")'):
            self.assertIn("are to be written out", self.wrong(source=SOURCE + call)[0], call)

    def test_finds_that_there_is_nothing(self):
        self.assertIn("no code was found", self.wrong(source=""))


if __name__ == "__main__":
    unittest.main()
