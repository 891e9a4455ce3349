#!/usr/bin/env python3
"""Plants files that break the rules of style and sees that each one is found."""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import check_style  # noqa: E402


def found(**files):
    """The breaches in a tree of these files; orvnetwork__api__A_cpp is orvnetwork/api/A.cpp."""
    with tempfile.TemporaryDirectory() as folder:
        check_style.includes_of.cache_clear()
        for name, text in files.items():
            path = pathlib.Path(folder, name.replace("__", "/").replace("_cpp", ".cpp").replace("_h", ".h"))
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return list(check_style.breaches(pathlib.Path(folder)))


class CheckStyleTest(unittest.TestCase):
    def assert_breach(self, breach, **files):
        self.assertEqual([line.split(": ", 1)[1] for line in found(**files)], [breach], files)

    def assert_clean(self, **files):
        self.assertEqual(found(**files), [], files)

    def test_standard_headers(self):
        self.assert_breach("uses std::string and does not include <string>", cli__A_cpp="std::string a;\n")
        self.assert_breach("uses std::sort and does not include <algorithm>", cli__A_cpp="std::ranges::sort(a);\n")
        self.assert_clean(cli__A_cpp="#include <string>\nstd::string a;\n")
        self.assert_clean(cli__A_cpp='// std::string\nauto a = "std::string";\n')

    def test_what_the_own_header_includes_is_included(self):
        self.assert_clean(cli__A_h="#include <string>\n", cli__A_cpp='#include "cli/A.h"\nstd::string a;\n')
        self.assert_breach("uses std::string and does not include <string>",
                           cli__B_h="#include <string>\n", cli__A_cpp='#include "cli/B.h"\nstd::string a;\n')

    def test_what_a_header_promises_to_bring(self):
        self.assert_clean(orvnetwork__api__A_h="#include <orvnetwork/data/Types.h>\nstd::string a;\n")
        self.assert_breach("uses std::vector and does not include <vector>",
                           orvnetwork__api__A_h="#include <orvnetwork/data/Types.h>\nstd::vector<int> a;\n")

    def test_comments_of_public_headers(self):
        bare, told = "int a;\n" * 76, "/// One.\n" * 24
        self.assert_breach("only 24 of 100 lines of a public header are comments", orvnetwork__api__A_h=bare + told)
        self.assert_breach("only 24 of 100 lines of a public header are comments", orvnetwork_qt__A_h=bare + told)
        self.assert_clean(orvnetwork__api__A_h=bare[7:] + told + "/// Two.\n")
        self.assert_clean(orvnetwork__api__detail__A_h=bare + told)
        self.assert_clean(orvnetwork_glib__detail__A_h=bare + told)
        self.assert_clean(orvnetwork__api__A_h="int a;\n" * 19)

    def test_class_headers(self):
        thing = {"orvnetwork__data__Thing_h": "class ORV_EXPORT Thing {};\n"}
        self.assert_breach("uses Thing and does not include <orvnetwork/data/Thing.h>",
                           orvnetwork__api__A_cpp="auto a = Thing{};\n", **thing)
        self.assert_clean(orvnetwork__api__A_cpp="#include <orvnetwork/data/Thing.h>\nauto a = Thing{};\n", **thing)
        self.assert_clean(orvnetwork__api__A_h="class Thing;\nvoid f(Thing&);\n", **thing)
        self.assert_clean(orvnetwork__api__A_h="auto a = Other::Thing{};\n", **thing)
        self.assert_clean(cli__A_cpp="struct Thing {\n};\nauto a = Thing{};\n", **thing)

    def test_braces(self):
        breach = "a body on a line of its own stands in braces"
        self.assert_breach(breach, cli__A_cpp="if (a)\n  b();\n")
        self.assert_breach(breach, cli__A_cpp="for (;;)\n  b();\n")
        self.assert_breach(breach, cli__A_cpp="if (a) {\n} else\n  b();\n")
        self.assert_breach(breach, cli__A_cpp="while (a &&\n       b)\n  c();\n")
        self.assert_clean(cli__A_cpp="if (a) b();\nfor (;;) c();\nif (a) {\n  b();\n} else {\n  c();\n}\n")
        self.assert_clean(cli__A_cpp="do {\n} while (a);\nif (a &&\n    b) {\n  c();\n}\n")

    def test_private_names(self):
        self.assert_breach("uses asio::detail::, a private name", cli__A_cpp="asio::detail::throw_error(e);\n")
        self.assert_clean(cli__A_cpp="detail::mine();\n")

    def test_namespaces_of_tests(self):
        breach = "tests that are not in a namespace of their own, url_parser_test"
        body = "TEST(A, B) {\n}\n"
        self.assert_breach(breach, tests__UrlParserTest_cpp="namespace orv {\n" + body)
        self.assert_breach(breach, tests__UrlParserTest_cpp=body)
        self.assert_clean(tests__UrlParserTest_cpp="namespace orv::url_parser_test {\n" + body)
        self.assert_clean(tests__QXDateTest_cpp="namespace orv::test::qx_date_test {\n" + body)
        self.assert_clean(tests__UrlParserTest_cpp="using namespace orv;\n" + body)
        self.assert_clean(tests__Support_cpp="namespace orv {\n}\n")


if __name__ == "__main__":
    unittest.main()
