#!/usr/bin/env python3
"""Plants files that break the rules of the house and sees that each one is found."""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import check_layering  # noqa: E402


def found_in(files):
    """The breaches in a tree of files, whose texts begin with a line of their own."""
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = pathlib.Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("#pragma once\n" + text, encoding="utf-8")
        return list(check_layering.breaches(pathlib.Path(folder)))


def found(name, text):
    """The breaches in a tree that holds one file."""
    return found_in({name: text})


def including(*names):
    """The text of a file that includes others of the library."""
    return "".join(f"#include <{name}>\n" for name in names)


class CheckLayeringTest(unittest.TestCase):
    def assert_breach(self, name, text, *, line=2):
        result = found(name, text)
        self.assertEqual(len(result), 1, f"{name}: {text!r}: {result}")
        self.assertTrue(result[0].startswith(f"{name}:{line}: "), result)

    def assert_clean(self, name, text):
        self.assertEqual(found(name, text), [], f"{name}: {text!r}")

    def test_includes_that_point_upwards(self):
        for layer, higher in [("data", "platform"), ("platform", "dates"), ("dates", "support"), ("support", "transport"), ("transport", "api"),
                              ("api", "session"), ("session", "course"), ("course", "client"), ("testing", "transport"),
                              ("platform", "testing"), ("course", "testing"), ("client", "testing")]:
            self.assert_breach(f"orvnetwork/{layer}/A.cpp", f"#include <orvnetwork/{higher}/B.h>\n")
            self.assert_breach(f"orvnetwork/{layer}/A.h", f"#include <orvnetwork/{higher}/B.h>\n")
            self.assert_breach(f"orvnetwork/{layer}/A.cpp", f"#  include  <orvnetwork/{higher}/B.h>\n")

    def test_includes_that_point_downwards(self):
        for layer, lower in [("support", "platform"), ("course", "session"), ("client", "course"), ("api", "api"), ("testing", "platform")]:
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

    def test_what_is_for_hosts_on_glib(self):
        self.assert_clean("orvnetwork_glib/A.cpp", "#include <orvnetwork/client/Client.h>\n#include <gio/gio.h>\n")
        self.assert_clean("orvnetwork_glib/A.h", "#include <glib-object.h>\n#include <string>\n")
        self.assert_breach("orvnetwork_glib/A.cpp", "#include <orvnetwork/client/detail/B.h>\n")
        self.assert_breach("orvnetwork_glib/A.cpp", "#include <gtk/gtk.h>\n")
        self.assert_breach("orvnetwork_glib/A.cpp", "#include <QObject>\n")
        self.assert_breach("orvnetwork_glib/A.cpp", "#include <orvnetwork_qt/B.h>\n")
        self.assert_breach("orvnetwork/client/A.cpp", "#include <orvnetwork_glib/B.h>\n")

    def test_what_is_for_hosts_on_qt(self):
        self.assert_clean("orvnetwork_qt/A.cpp", "#include <orvnetwork/client/Client.h>\n#include <QPointer>\n")
        self.assert_clean("orvnetwork_qt/A.h", "#include <orvnetwork_qt/B.h>\n#include <QObject>\n#include <string>\n")
        self.assert_breach("orvnetwork_qt/A.cpp", "#include <orvnetwork/client/detail/B.h>\n")
        self.assert_breach("orvnetwork_qt/A.cpp", "#include <orvnetwork/testing/Scheduler.h>\n")
        self.assert_breach("orvnetwork_qt/A.cpp", "#include <devserver/DevServer.h>\n")
        self.assert_breach("orvnetwork_qt/A.cpp", "std::thread t;\n")
        for layer in ("client", "platform", "testing"):
            self.assert_breach(f"orvnetwork/{layer}/A.cpp", "#include <orvnetwork_qt/B.h>\n")
            self.assert_breach(f"orvnetwork/{layer}/A.h", "#include <QObject>\n")

    def test_what_public_headers_show(self):
        for header in ("boost/asio.hpp", "openssl/ssl.h", "unicode/datefmt.h", "expat.h", "unistd.h"):
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
            for layer in ("support", "transport", "api", "session", "course", "client", "testing"):
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

    def test_private_headers_in_public_ones(self):
        for layer in ("data", "platform", "dates", "support", "transport", "api", "session", "course", "client", "testing"):
            for private in ("detail/B.h", "native/B.h", "icu/B.h", "native/files/B.h"):
                self.assert_breach(f"orvnetwork/{layer}/A.h", including(f"orvnetwork/{layer}/{private}"))
                self.assert_clean(f"orvnetwork/{layer}/A.cpp", including(f"orvnetwork/{layer}/{private}"))
                self.assert_clean(f"orvnetwork/{layer}/detail/A.h", including(f"orvnetwork/{layer}/{private}"))

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


class CircleTest(unittest.TestCase):
    def assert_circle(self, files, breach):
        result = found_in(files)
        self.assertEqual(result, [breach], files)

    def assert_clean(self, files):
        self.assertEqual(found_in(files), [], files)

    def test_two_modules_of_a_folder(self):
        for folder in ("orvnetwork/api", "orvnetwork/course", "orvnetwork/platform/native/files", "devserver",
                       "devserver/net", "cli", "cli/shell"):
            self.assert_circle({f"{folder}/A.h": including(f"{folder}/B.h"),
                                f"{folder}/B.h": including("string"),
                                f"{folder}/B.cpp": including("vector", f"{folder}/A.h")},
                               f"{folder}/A.h:2: modules in a circle: {folder}/A.h includes {folder}/B.h, "
                               f"{folder}/B.cpp includes {folder}/A.h")

    def test_a_line_in_the_middle(self):
        self.assert_circle({"cli/A.h": '#include <string>\n\n  #include "cli/B.h"\n',
                            "cli/B.h": '#include "cli/A.h"\n'},
                           "cli/A.h:4: modules in a circle: cli/A.h includes cli/B.h, cli/B.h includes cli/A.h")

    def test_a_folder_and_one_below_it(self):
        self.assert_circle({"orvnetwork/api/A.cpp": including("orvnetwork/api/detail/B.h"),
                            "orvnetwork/api/A.h": "",
                            "orvnetwork/api/detail/B.h": including("orvnetwork/api/A.h")},
                           "orvnetwork/api/A.cpp:2: modules in a circle: "
                           "orvnetwork/api/A.cpp includes orvnetwork/api/detail/B.h, "
                           "orvnetwork/api/detail/B.h includes orvnetwork/api/A.h")

    def test_many_modules_are_named_file_by_file(self):
        self.assert_circle({"cli/A.h": '#include "cli/B.h"\n', "cli/B.h": "",
                            "cli/B.cpp": '#include "cli/B.h"\n#include "cli/C.h"\n',
                            "cli/C.h": '#include "cli/A.h"\n'},
                           "cli/A.h:2: modules in a circle: cli/A.h includes cli/B.h, cli/B.cpp includes cli/C.h, "
                           "cli/C.h includes cli/A.h")

    def test_each_circle_is_told_once(self):
        files = {"cli/A.h": '#include "cli/B.h"\n#include "cli/C.h"\n', "cli/B.h": '#include "cli/A.h"\n',
                 "cli/C.h": '#include "cli/A.h"\n', "cli/D.h": '#include "cli/A.h"\n'}
        self.assertEqual(found_in(files), [
            "cli/A.h:2: modules in a circle: cli/A.h includes cli/B.h, cli/B.h includes cli/A.h",
            "cli/C.h:2: modules in a circle: cli/C.h includes cli/A.h, cli/A.h includes cli/C.h"])

    def test_sources_that_are_named_after_a_header(self):
        files = {"orvnetwork/api/A.h": "", "orvnetwork/api/B.h": including("orvnetwork/api/A.h")}
        further = including("orvnetwork/api/B.h")
        own = '#include "orvnetwork/api/A.h"\n'
        self.assert_circle(files | {"orvnetwork/api/AFields.cpp": own + further},
                           "orvnetwork/api/AFields.cpp:3: modules in a circle: "
                           "orvnetwork/api/AFields.cpp includes orvnetwork/api/B.h, "
                           "orvnetwork/api/B.h includes orvnetwork/api/A.h")
        # One that has a header of its own is a module of its own, and so is one that only looks alike.
        self.assert_clean(files | {"orvnetwork/api/AFields.h": "", "orvnetwork/api/AFields.cpp":
                                   including("orvnetwork/api/A.h") + further})
        self.assert_clean(files | {"orvnetwork/api/Afields.cpp": including("orvnetwork/api/A.h") + further})
        self.assert_clean(files | {"orvnetwork/api/detail/AFields.cpp": including("orvnetwork/api/A.h") + further})

    def test_a_source_belongs_to_the_longest_of_its_headers(self):
        self.assert_clean({"orvnetwork/api/A.h": including("orvnetwork/api/AB.h"), "orvnetwork/api/AB.h": "",
                           "orvnetwork/api/C.h": including("orvnetwork/api/A.h"),
                           "orvnetwork/api/ABMore.cpp": '#include "orvnetwork/api/AB.h"\n'})
        self.assert_circle({"orvnetwork/api/A.h": including("orvnetwork/api/AB.h"), "orvnetwork/api/AB.h": "",
                            "orvnetwork/api/ABMore.cpp": '#include "orvnetwork/api/AB.h"\n'
                            + including("orvnetwork/api/A.h")},
                           "orvnetwork/api/A.h:2: modules in a circle: orvnetwork/api/A.h includes orvnetwork/api/AB.h, "
                           "orvnetwork/api/ABMore.cpp includes orvnetwork/api/A.h")

    def test_two_folders(self):
        for one, other in [("orvnetwork/platform/native/network", "orvnetwork/platform/native/websocket"),
                           ("orvnetwork/platform/native", "orvnetwork/platform/native/files"),
                           ("devserver/net", "devserver/page"), ("devserver", "devserver/net"),
                           ("cli", "cli/shell")]:
            self.assert_circle({f"{one}/A.h": including(f"{other}/B.h"), f"{other}/B.h": "",
                                f"{other}/C.h": including(f"{one}/D.h"), f"{one}/D.h": ""},
                               f"{one}/A.h:2: folders in a circle: {one}/A.h includes {other}/B.h, "
                               f"{other}/C.h includes {one}/D.h")

    def test_three_folders(self):
        self.assert_circle({"devserver/a/A.h": '#include "devserver/b/B.h"\n', "devserver/b/B.h": "",
                            "devserver/b/C.cpp": '#include "devserver/c/C.h"\n', "devserver/c/C.h": "",
                            "devserver/c/D.h": '#include "devserver/a/E.h"\n', "devserver/a/E.h": ""},
                           "devserver/a/A.h:2: folders in a circle: devserver/a/A.h includes devserver/b/B.h, "
                           "devserver/b/C.cpp includes devserver/c/C.h, devserver/c/D.h includes devserver/a/E.h")

    def test_a_layer_and_its_private_folder_take_turns(self):
        for private in ("detail", "native", "native/files"):
            self.assert_clean({"orvnetwork/platform/A.cpp": including(f"orvnetwork/platform/{private}/B.h"),
                               f"orvnetwork/platform/{private}/B.h": "",
                               f"orvnetwork/platform/{private}/C.h": including("orvnetwork/platform/D.h"),
                               "orvnetwork/platform/D.h": ""})

    def test_includes_that_run_one_way(self):
        self.assert_clean({"devserver/A.h": '#include "devserver/net/B.h"\n#include "devserver/page/C.h"\n',
                           "devserver/net/B.h": "", "devserver/page/C.h": '#include "devserver/net/B.h"\n',
                           "devserver/A.cpp": '#include "devserver/A.h"\n'})
        self.assert_clean({"cli/A.h": '#include "cli/A.h"\n'})

    def test_circles_of_tests_are_their_own_affair(self):
        self.assert_clean({"tests/unit/A.h": '#include "tests/unit/B.h"\n',
                           "tests/unit/B.h": '#include "tests/unit/A.h"\n'})


if __name__ == "__main__":
    unittest.main()
