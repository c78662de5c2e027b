#!/usr/bin/python3
"""Shows that layers.py finds each fault that it is there for: in a tree of a few files, into which each test puts one."""

import pathlib
import tempfile
import unittest

import layers

LIST = """\
[low]
part = fdn
holds = String
[high]
part = fdn
on = low
holds = Path files log/
[daemon]
part = dmn
on = high
holds = CDaemon
[controller]
part = dmn
on = high
holds = CController
[tool]
part = dmnctl
on = controller
holds = main show/
"""

FILES = {
    "tests/layers/layers.ini": LIST,
    "docs/diagrams/layers.dot": "",
    "fdn/CMakeLists.txt": "dmn_add_library(fdn HEADERS String.h Path.h files.h SOURCES Path.cpp log/File.cpp)",
    "fdn/String.h": "",
    "fdn/Path.h": "#include <fdn/String.h>\n",
    "fdn/Path.cpp": "#include <fdn/Path.h>\n",
    "fdn/files.h": "#include <fdn/Path.h>\n",
    "fdn/log/File.h": "#include <fdn/files.h>\n",
    "fdn/log/File.cpp": "#include <fdn/log/File.h>\n",
    "dmn/CMakeLists.txt": "dmn_add_library(dmn HEADERS CDaemon.h CController.h SOURCES)",
    "dmn/CDaemon.h": "#include <fdn/files.h>\n",
    "dmn/CController.h": "",
    "dmnctl/CMakeLists.txt": "",
    "dmnctl/main.cpp": "#include <dmnctl/show/text.h>\n",
    "dmnctl/show/text.h": "#include <dmn/CController.h>\n",
}


class FaultTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.sources = pathlib.Path(folder.name)
        for name, text in FILES.items():
            self.write(name, text)
        layers.write_drawing(self.sources)

    def write(self, name, text):
        path = self.sources / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, "utf-8")

    def find_faults(self):
        finders = (layers.find_include_faults, layers.find_circles, layers.find_place_faults,
                   layers.find_drawing_faults)
        return [fault for find in finders for fault in find(self.sources)]

    def expect_fault(self, fault):
        self.assertEqual(self.find_faults(), [fault])

    def test_finds_nothing_in_a_tree_without_a_fault(self):
        self.assertEqual(self.find_faults(), [])

    def test_finds_a_header_that_knows_a_higher_layer(self):
        self.write("fdn/String.h", "#include <fdn/log/None.h>\n")
        self.assertIn("fdn/String.h is of the layer low, which does not know high: fdn/log/None.h",
                      self.find_faults())

    def test_finds_a_source_that_knows_a_layer_beside_its_own(self):
        self.write("dmn/CDaemon.cpp", "#include <dmn/CController.h>\n")
        self.expect_fault("dmn/CDaemon.cpp is of the layer daemon, which does not know controller: dmn/CController.h")

    def test_finds_an_include_of_what_is_private_to_another_library(self):
        self.write("dmn/CDaemon.cpp", "#include <fdn/log/File.h>\n")
        self.expect_fault("dmn/CDaemon.cpp includes what is private to another part: fdn/log/File.h")

    def test_finds_a_tool_that_includes_what_is_private_to_a_library(self):
        self.write("dmnctl/show/text.cpp", "#include <fdn/log/File.h>\n")
        self.expect_fault("dmnctl/show/text.cpp includes what is private to another part: fdn/log/File.h")

    def test_finds_a_tool_that_knows_a_layer_beside_those_it_stands_on(self):
        self.write("dmnctl/main.cpp", "#include <dmn/CDaemon.h>\n")
        self.expect_fault("dmnctl/main.cpp is of the layer tool, which does not know daemon: dmn/CDaemon.h")

    def test_finds_a_library_that_includes_a_file_of_the_tool(self):
        self.write("dmn/CDaemon.cpp", "#include <dmnctl/show/text.h>\n")
        self.assertIn("dmn/CDaemon.cpp is of the layer daemon, which does not know tool: dmnctl/show/text.h",
                      self.find_faults())

    def test_finds_a_public_header_that_includes_a_private_one(self):
        self.write("fdn/log/Line.h", "")
        self.write("fdn/files.h", "#include <fdn/log/Line.h>\n")
        self.expect_fault("fdn/files.h is public and includes what is not installed: fdn/log/Line.h")

    def test_finds_an_include_without_the_name_of_its_folder(self):
        self.write("fdn/Path.cpp", '#include "Path.h"\n')
        self.expect_fault('fdn/Path.cpp includes "Path.h" without its folder')

    def test_finds_a_circle_through_a_source(self):
        self.write("fdn/Path.cpp", "#include <fdn/files.h>\n")
        self.expect_fault("fdn/Path -> fdn/files -> fdn/Path")

    def test_finds_folders_that_know_each_other(self):
        self.write("tests/layers/layers.ini", LIST.replace("log/", "log/ system/"))
        self.write("fdn/log/File.cpp", "#include <fdn/system/Pipe.h>\n")
        self.write("fdn/system/Pipe.h", "")
        self.write("fdn/system/clock.cpp", "#include <fdn/log/Line.h>\n")
        self.write("fdn/log/Line.h", "")
        layers.write_drawing(self.sources)
        self.expect_fault("fdn/log/ -> fdn/system/ -> fdn/log/")

    def test_finds_a_private_header_at_the_top(self):
        self.write("fdn/Path2.h", "")
        self.write("tests/layers/layers.ini", LIST.replace("Path", "Path Path2"))
        layers.write_drawing(self.sources)
        self.expect_fault("fdn/Path2.h is neither a public header nor the source of one")

    def test_finds_a_source_at_the_top_without_a_header(self):
        self.write("fdn/helpers.cpp", "")
        self.assertIn("fdn/helpers.cpp is neither a public header nor the source of one", self.find_faults())

    def test_finds_a_public_header_in_a_folder(self):
        self.write("fdn/CMakeLists.txt", FILES["fdn/CMakeLists.txt"].replace("files.h", "files.h log/File.h"))
        self.expect_fault("fdn/log/File.h is private by its place, and public in CMakeLists.txt")

    def test_finds_what_does_not_belong_into_a_folder(self):
        self.write("fdn/log/notes.txt", "")
        self.expect_fault("fdn/log/notes.txt is neither a header nor a source directly in a folder of fdn")

    def test_finds_a_file_of_the_tool_that_is_in_no_folder(self):
        self.write("dmnctl/main.h", "")
        self.expect_fault("dmnctl/main.h is neither a public header nor the source of one")

    def test_finds_what_does_not_belong_into_a_folder_of_the_tool(self):
        self.write("dmnctl/show/notes.txt", "")
        self.expect_fault("dmnctl/show/notes.txt is neither a header nor a source directly in a folder of dmnctl")

    def test_finds_a_folder_that_is_in_no_layer(self):
        self.write("fdn/system/Mount.h", "")
        self.expect_fault("fdn/system/ is in no layer")

    def test_finds_a_layer_of_what_does_not_exist(self):
        self.write("tests/layers/layers.ini", LIST.replace("log/", "log/ system/"))
        layers.write_drawing(self.sources)
        self.expect_fault("fdn/system/ is in a layer, and does not exist")

    def test_finds_what_is_in_two_layers(self):
        self.write("tests/layers/layers.ini", LIST.replace("Path", "Path String"))
        layers.write_drawing(self.sources)
        self.assertIn("fdn/String is in the layers more than once", self.find_faults())

    def test_finds_a_drawing_of_another_list(self):
        self.write("tests/layers/layers.ini", LIST.replace("daemon", "runtime"))
        self.expect_fault('docs/diagrams/layers.dot is not the drawing of tests/layers/layers.ini; '
                          'build the target "diagrams"')


if __name__ == "__main__":
    unittest.main()
