"""Where the programs are that are measured, and where they keep their files."""

import os


class Place:
    """The build folder, and a folder of the private root."""

    def __init__(self, programs, folder):
        self.programs = programs
        self.folder = folder

    def program(self, name):
        return os.path.join(self.programs, name)

    def file(self, name):
        return os.path.join(self.folder, name)

    def pid_file(self, name):
        return self.file(name + ".pid")
