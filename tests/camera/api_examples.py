#!/usr/bin/env python3
"""Runs the examples of docs/api.md against the built virtual camera, in the order of the document.

An example is a fenced block marked "console":

    ```console
    $ curl -s 'http://127.0.0.1:8080/config/camera_info.cgi?name=Hall'
    name=Hall
    ```

A line that begins with "$ " is a command, one that begins with "> " continues it; what follows is its output. The
commands of a block run in one shell, each in a folder of the test's own, and a command must end with status 0, or 28:
curl's, when the time of a stream is over. White space at the end of lines does not count, so that carriage returns
stay out of the document. In the expected output "..." at the end of a line stands for any rest of the line, and a line
"[...]" for any number of lines.

All examples share one camera, which begins with the factory's settings. Each URL of the API needs an example.
"""

import contextlib
import dataclasses
import difflib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading

ADDRESS = "127.0.0.1:8080"
START_SECONDS = 60
BLOCK_SECONDS = 60
STOP_SECONDS = 30
CURL_TIME_IS_OVER = 28
MARK = "end of example"

# Once more, independent of the daemon's own table.
API_URLS = """
/config/network.cgi /config/datetime.cgi /config/video.cgi /config/stream_info.cgi /config/sensor.cgi /common/info.cgi
/config/user_mod.cgi /config/user_del.cgi /config/rtspurl.cgi /config/sensor_info.cgi /config/system_reboot.cgi
/video/mjpg.cgi /config/mic.cgi /config/io.cgi /config/rs485.cgi /config/rs485_do.cgi /config/ptz_preset_list.cgi
/config/ptz_preset.cgi /config/ptz_home.cgi /config/audio.cgi /config/notify_stream.cgi /config/auto_pan.cgi
/config/speaker.cgi /dev/speaker.cgi /config/motion.cgi /cgi/admin/recorder.cgi /cgi/admin/adv_snapshot_cont.cgi
/cgi/admin/adv_do.cgi /config/ptz_move_rel.cgi /config/scheduled_reboot.cgi /config/camera_info.cgi
/config/timestamp.cgi /config/ddns.cgi
""".split()


@dataclasses.dataclass
class Example:
    line: int  # of the command in the document
    command: str
    expected: list = dataclasses.field(default_factory=list)


def read_examples(document):
    """Returns the document's blocks, each a list of examples."""
    blocks = []
    inside = False
    for number, line in enumerate(document.read_text().splitlines(), 1):
        if not inside:
            inside = line == "```console"
            if inside:
                blocks.append([])
        elif line == "```":
            inside = False
        elif line.startswith("$ "):
            blocks[-1].append(Example(number, line[2:]))
        elif not blocks[-1]:
            sys.exit(f"{document}:{number}: an example begins with its command")
        elif line.startswith("> ") and not blocks[-1][-1].expected:
            blocks[-1][-1].command += "\n" + line[2:]
        else:
            blocks[-1][-1].expected.append(line.rstrip())
    if inside:
        sys.exit(f"{document}: the last block has no end")
    return blocks


def matches(expected, actual):
    pattern = ""
    for line in expected:
        if line == "[...]":
            pattern += r"(?:.*\n)*?"
        elif line.endswith("..."):
            pattern += re.escape(line[:-3]) + r".*\n"
        else:
            pattern += re.escape(line) + r"\n"
    return re.fullmatch(pattern, "".join(line + "\n" for line in actual)) is not None


@contextlib.contextmanager
def kill_after(seconds, kill):
    timer = threading.Timer(seconds, kill)
    timer.start()
    try:
        yield
    finally:
        timer.cancel()


class Camera:
    """The virtual camera in a temporary folder."""

    def __init__(self, program, folder):
        self.folder = folder
        self.process = subprocess.Popen(
            [program, "--root", folder + "/root", "--listen", "127.0.0.1:0"], start_new_session=True,
            stdout=subprocess.PIPE, text=True, errors="replace")

    def kill(self):
        """Ends it and what it has started, which holds the pipe too; one that has ended is left alone."""
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGKILL)

    def await_start(self):
        with kill_after(START_SECONDS, self.kill):
            for line in self.process.stdout:
                if found := re.search(r"listening on http://([^ ,]+)", line):
                    self.address = found[1]
                    return
        sys.exit("the camera did not start")

    def stop(self):
        """Stops it as its user does."""
        self.process.send_signal(signal.SIGINT)
        with kill_after(STOP_SECONDS, self.kill):
            self.process.communicate()
        if self.process.returncode != 0:
            sys.exit(f"the camera did not stop as it should: status {self.process.returncode}")

    def run(self, block):
        """Runs the commands of a block in one shell; returns for each its output and its exit status."""
        script = "".join(f"{example.command}\nprintf '\\n{MARK} %d\\n' $?\n" for example in block)
        shell = subprocess.Popen(
            ["bash", "-c", script.replace(ADDRESS, self.address)], cwd=self.folder, start_new_session=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        with kill_after(BLOCK_SECONDS, lambda: os.killpg(shell.pid, signal.SIGKILL)):
            output = shell.communicate()[0].decode(errors="replace").replace("\r", "")
        pieces = re.split(rf"\n{MARK} (\d+)\n", output)
        results = list(zip(pieces[0::2], map(int, pieces[1::2])))
        # The command during which the shell ended has no status.
        return results + [(pieces[-1], None)] * (len(results) < len(block))


def check(document, example, output, status):
    """Returns whether an example went as the document says; prints the difference when it did not."""
    actual = [line.rstrip() for line in output.removesuffix("\n").split("\n")] if output else []
    if status in (0, CURL_TIME_IS_OVER) and matches(example.expected, actual):
        return True
    print(f"{document}:{example.line}: $ {example.command}")
    if status not in (0, CURL_TIME_IS_OVER):
        print("  no end within the time" if status is None else f"  ended with status {status}")
    print("\n".join(difflib.unified_diff(example.expected, actual, "document", "camera", lineterm="", n=1000)))
    return False


def main():
    program, document = sys.argv[1], pathlib.Path(sys.argv[2])
    blocks = read_examples(document)
    commands = "\n".join(example.command for block in blocks for example in block)
    missing = [url for url in API_URLS if not re.search(re.escape(ADDRESS + url) + r"(?![\w./])", commands)]
    for url in missing:
        print(f"{document}: no example of {url}")

    failures = len(missing)
    # In /tmp itself: the paths of sockets are short.
    with tempfile.TemporaryDirectory(prefix="kelpa", dir="/tmp") as folder:
        camera = Camera(program, folder)
        try:
            camera.await_start()
            for block in blocks:
                results = camera.run(block)
                for example, (output, status) in zip(block, results):
                    failures += not check(document, example, output, status)
                if results[-1][1] is None:
                    sys.exit("what follows is not run: the camera, or the shell, hangs")
            camera.stop()
        finally:
            camera.kill()
            camera.process.wait()
    print(f"{sum(map(len, blocks))} examples of {len(API_URLS) - len(missing)} URLs, {failures} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
