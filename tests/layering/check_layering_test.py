#!/usr/bin/env python3
"""Plants files that break the rules of the house and sees that each one is found."""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import check_layering  # noqa: E402


def found(name, text):
    """The breaches in a tree that holds one file."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, name)
        path.parent.mkdir(parents=True)
        path.write_text("#pragma once\n" + text, encoding="utf-8")
        return list(check_layering.breaches(pathlib.Path(folder)))


class CheckLayeringTest(unittest.TestCase):
    def assert_breach(self, name, text, *, line=2):
        result = found(name, text)
        self.assertEqual(len(result), 1, f"{name}: {text!r}: {result}")
        self.assertTrue(result[0].startswith(f"{name}:{line}: "), result)

    def assert_clean(self, name, text):
        self.assertEqual(found(name, text), [], f"{name}: {text!r}")

    def test_includes_that_point_upwards(self):
        for layer, higher in [("data", "platform"), ("platform", "dates"), ("dates", "support"), ("support", "transport"), ("transport", "api"),
                              ("api", "session"), ("session", "course"), ("testing", "transport"),
                              ("platform", "testing"), ("course", "testing")]:
            self.assert_breach(f"orvnetwork/{layer}/A.cpp", f"#include <orvnetwork/{higher}/B.h>\n")
            self.assert_breach(f"orvnetwork/{layer}/A.h", f"#include <orvnetwork/{higher}/B.h>\n")
            self.assert_breach(f"orvnetwork/{layer}/A.cpp", f"#  include  <orvnetwork/{higher}/B.h>\n")

    def test_includes_that_point_downwards(self):
        for layer, lower in [("support", "platform"), ("course", "session"), ("api", "api"), ("testing", "platform")]:
            self.assert_clean(f"orvnetwork/{layer}/A.cpp", f"#include <orvnetwork/{lower}/B.h>\n")

    def test_includes_of_programs(self):
        self.assert_breach("orvnetwork/api/A.cpp", "#include <devserver/Server.h>\n")
        self.assert_breach("orvnetwork/api/A.cpp", '#include "QXAPIHelper.h"\n')
        self.assert_breach("devserver/A.cpp", "#include <orvnetwork/platform/Console.h>\n")
        self.assert_breach("devserver/A.cpp", "#include <orvnetwork/data/detail/Decimal.h>\n")
        self.assert_clean("devserver/A.cpp", "#include <orvnetwork/data/Utf8.h>\n")
        self.assert_breach("cli/A.cpp", "#include <orvnetwork/platform/native/threads/NativeMainQueue.h>\n")
        self.assert_breach("orvnetwork/orvnetwork.h", "#include <orvnetwork/testing/Simulation.h>\n")
        self.assert_clean("cli/A.cpp", "#include <orvnetwork/orvnetwork.h>\n#include <devserver/Server.h>\n")
        self.assert_clean("orvnetwork/orvnetwork.h", "#include <orvnetwork/api/QXAPIHelper.h>\n")

    def test_what_public_headers_show(self):
        for header in ("boost/asio.hpp", "openssl/ssl.h", "unicode/datefmt.h", "plist/plist.h", "unistd.h"):
            self.assert_breach("orvnetwork/platform/A.h", f"#include <{header}>\n")
            self.assert_clean("orvnetwork/platform/A.cpp", f"#include <{header}>\n")
            self.assert_clean("orvnetwork/platform/native/A.h", f"#include <{header}>\n")
        self.assert_breach("orvnetwork/platform/A.h", "#include <orvnetwork/platform/native/B.h>\n")
        self.assert_breach("orvnetwork/course/A.h", "#include <orvnetwork/course/detail/B.h>\n")
        self.assert_breach("orvnetwork/course/A.cpp", "#include <orvnetwork/data/detail/B.h>\n")
        self.assert_breach("orvnetwork/testing/A.h", "#include <orvnetwork/testing/detail/B.h>\n")
        self.assert_clean("orvnetwork/testing/A.cpp", "#include <orvnetwork/testing/detail/B.h>\n")
        self.assert_clean("orvnetwork/api/A.h", "#include <string>\n#include <boost/json/value.hpp>\n")

    def test_headers_that_only_the_platform_may_use(self):
        for header in ("thread", "fstream", "filesystem", "random", "sys/socket.h", "unistd.h", "boost/asio.hpp",
                       "boost/beast.hpp", "openssl/ssl.h", "unicode/ucal.h", "condition_variable"):
            self.assert_breach("orvnetwork/transport/A.cpp", f"#include <{header}>\n")
            self.assert_breach("orvnetwork/data/A.cpp", f"#include <{header}>\n")
        self.assert_clean("orvnetwork/dates/icu/A.h", "#include <unicode/ucal.h>\n")
        self.assert_clean("orvnetwork/transport/A.cpp", "#include <mutex>\n#include <boost/json.hpp>\n")

    def test_code_that_only_the_platform_may_have(self):
        for code in ("std::thread t;", "std::jthread t;", "auto f = std::async(g);", "auto t = steady_clock::now();",
                     "std::chrono::system_clock::now();", "fopen(a, b);", "std::ofstream out(a);",
                     "int s = socket(AF_INET, 0, 0);", "int f = ::open(a, 0);", "if (::socket(1, 2, 3)) {}",
                     "std::random_device r;", "time(nullptr);", "std::this_thread::yield();", "usleep(3);",
                     'auto h = std::getenv("HOME");', "std::filesystem::path p;"):
            for layer in ("support", "transport", "api", "session", "course", "testing"):
                self.assert_breach(f"orvnetwork/{layer}/A.cpp", code + "\n")
            self.assert_clean("orvnetwork/platform/A.cpp", code + "\n")

    def test_code_that_only_looks_alike(self):
        for code in ("socket->open();", "socket.close();", "// std::thread is not used", "/* fopen(\n) */",
                     'log("std::thread");', "QXFileLog::open(a);", "int n = 1'000'000;  // ok", "void open();",
                     "clock.steadyNow();", "Foo::read(b);", 'auto s = R"(fopen(a))";'):
            self.assert_clean("orvnetwork/api/A.cpp", code + "\n")

    def test_own_header(self):
        self.assert_clean("orvnetwork/api/A.cpp", '#include "orvnetwork/api/A.h"\n#include <orvnetwork/api/B.h>\n')
        self.assert_clean("orvnetwork/api/AbcFields.cpp", '#include "orvnetwork/api/Abc.h"\n')
        self.assert_breach("orvnetwork/api/A.cpp", '#include "orvnetwork/api/B.h"\n')
        self.assert_breach("orvnetwork/api/A.cpp", '#include "orvnetwork/data/A.h"\n')
        self.assert_breach("orvnetwork/api/A.cpp", '#include <string>\n#include "orvnetwork/api/A.h"\n', line=3)
        self.assert_breach("orvnetwork/api/A.cpp", "#include <orvnetwork/api/A.h>\n")
        self.assert_breach("orvnetwork/api/A.h", '#include "orvnetwork/api/B.h"\n')

    def test_lines_are_counted_through_comments(self):
        self.assert_breach("orvnetwork/api/A.cpp", "/* one\n two */\nstd::thread t;\n", line=4)

    def test_sleeping_tests(self):
        self.assert_breach("tests/unit/api/A.cpp", "std::this_thread::sleep_for(1s);\n")
        self.assert_breach("tests/unit/api/A.cpp", "usleep(10);\n")
        self.assert_breach("tests/unit/api/A.cpp", "::sleep(1);\n")
        self.assert_clean("tests/unit/api/A.cpp", "link.sleep();  // no sleep_for(1s)\n")

    def test_long_files(self):
        self.assert_clean("orvnetwork/api/A.cpp", "\n" * (check_layering.MAX_LINES - 1))
        self.assert_breach("orvnetwork/api/A.cpp", "\n" * check_layering.MAX_LINES,
                           line=check_layering.MAX_LINES + 1)

    def test_umbrella_header_lacks_a_class(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "orvnetwork", "api").mkdir(parents=True)
            pathlib.Path(folder, "orvnetwork", "api", "QXThing.h").write_text("#pragma once\n")
            umbrella = pathlib.Path(folder, "orvnetwork", "orvnetwork.h")
            umbrella.write_text("#pragma once\n")
            self.assertEqual(list(check_layering.breaches(pathlib.Path(folder))),
                             ["orvnetwork/orvnetwork.h:1: does not include orvnetwork/api/QXThing.h"])
            umbrella.write_text("#pragma once\n#include <orvnetwork/api/QXThing.h>\n")
            self.assertEqual(list(check_layering.breaches(pathlib.Path(folder))), [])

    def test_headers_without_guard(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "cli").mkdir()
            pathlib.Path(folder, "cli", "A.h").write_text("int a;\n")
            self.assertEqual(list(check_layering.breaches(pathlib.Path(folder))), ["cli/A.h:1: no #pragma once"])


if __name__ == "__main__":
    unittest.main()
