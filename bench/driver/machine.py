"""On what the measurements were made."""

import datetime
import os
import platform
import subprocess

PACKAGES = ("g++", "libwxgtk3.2-dev", "golang-go", "golang-github-kardianos-service-dev", "libpoco-dev",
            "dpkg", "libboost-dev", "libglib2.0-dev", "libspdlog-dev", "libbsd-dev")


def describe_machine():
    return {"Date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
            "Processor": f"{find_processor()}, {os.cpu_count()} of its processors",
            "Kernel": platform.release().partition("-")[0],  # the version, without the name of the build
            "Versions": ", ".join(f"{name} {find_version(name)}" for name in PACKAGES)}


def find_processor():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    return names[0] if names else platform.machine()


def find_version(package):
    """The version of the package, or "?" if it is not installed."""
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package], check=False,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    return found.stdout or "?"
