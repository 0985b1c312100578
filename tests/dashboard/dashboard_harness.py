"""A device and its dashboard for the dashboard's tests: asp_hostd on a fresh data root of the test's
own (the default device, the real privacy service), asp_dashboard speaking to it as the settings app,
and aspctl to read back what the service holds.

Run from ctest with the build's bin/ directory and the profile as arguments:
    python3 test_x.py BIN_DIR PROFILE [unittest options]
"""
import http.client
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SETTINGS = "com.ohos.permissionmanager"
# ctest reads this exit code as "skipped".
SKIP_EXIT = 77
BIN_DIR = ""
PROFILE = ""


def wait_for(condition, seconds, what):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"timed out after {seconds} s waiting for {what}")


class Device:
    """asp_hostd and asp_dashboard, started together and stopped together."""

    def __init__(self):
        self.directory = tempfile.mkdtemp(prefix="asp-dashboard-")
        # Apps (the dashboard runs as one) pass through to the socket's directory.
        os.chmod(self.directory, 0o711)
        self.socket = os.path.join(self.directory, "run", "asp_hostd.sock")
        self.env = dict(os.environ, ASP_SOCKET=self.socket)
        self.hostd = None
        self.dashboard = None
        self.url = ""
        self.port = 0

    def start(self):
        with open(os.path.join(self.directory, "hostd.out"), "wb") as log:
            self.hostd = subprocess.Popen(
                [os.path.join(BIN_DIR, "asp_hostd"), "--data-root", os.path.join(self.directory, "device"),
                 "--socket", self.socket, "--profile", PROFILE,
                 "--log-file", os.path.join(self.directory, "hostd.log")],
                stdout=log, stderr=subprocess.STDOUT)
        wait_for(lambda: self.hostd.poll() is not None or self.tool("hidumper", "-ls").returncode == 0,
                 20, "asp_hostd to answer")
        if self.hostd.poll() is not None:
            with open(os.path.join(self.directory, "hostd.out")) as log:
                raise AssertionError("asp_hostd exited: " + log.read())
        self.dashboard = subprocess.Popen(
            [os.path.join(BIN_DIR, "asp_dashboard"), "--socket", self.socket, "--port", "0"],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = self.dashboard.stdout.readline()
        if not line.startswith("asp_dashboard: open http://127.0.0.1:"):
            raise AssertionError(f"asp_dashboard did not print its URL: {line!r} {self.dashboard.stderr.read()}")
        self.url = line.split()[-1]
        self.port = int(self.url.split(":")[2].split("/")[0])
        return self

    def stop(self):
        """Stops both; raises when the dashboard did not end cleanly on SIGTERM (a sanitizer's
        report at exit, for one)."""
        for process in (self.dashboard, self.hostd):
            if process and process.poll() is None:
                process.terminate()
                try:
                    process.wait(timeout=10)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
        errors = ""
        if self.dashboard:
            errors = self.dashboard.stderr.read()
            self.dashboard.stdout.close()
            self.dashboard.stderr.close()
        shutil.rmtree(self.directory, ignore_errors=True)
        if self.dashboard and self.dashboard.returncode != 0:
            raise AssertionError(f"asp_dashboard ended with {self.dashboard.returncode}: {errors}")

    def tool(self, name, *args):
        return subprocess.run([os.path.join(BIN_DIR, name), *args], env=self.env, capture_output=True, text=True,
                              timeout=30)

    def aspctl_json(self, *args):
        """aspctl as the settings app, its JSON answer."""
        result = self.tool("aspctl", "--as", SETTINGS, "--json", *args)
        if result.returncode != 0:
            raise AssertionError(f"aspctl {' '.join(args)} failed: {result.stderr}")
        return json.loads(result.stdout)

    def group_state(self, bundle, group):
        return self.aspctl_json("groups", bundle, "--group", group)[0]["checkedState"]

    def request(self, method, path, headers=None, body=None):
        """One HTTP request to the dashboard, with the headers given and no others but the
        connection's own; (status, body text)."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=10)
        try:
            connection.putrequest(method, path, skip_host=True, skip_accept_encoding=True)
            for name, value in (headers or {}).items():
                connection.putheader(name, value)
            data = body.encode() if body is not None else None
            if data is not None:
                connection.putheader("Content-Length", str(len(data)))
            connection.endheaders(data)
            response = connection.getresponse()
            return response.status, response.read().decode(errors="replace")
        finally:
            connection.close()


def main():
    """Reads BIN_DIR and PROFILE from the command line, then runs the module's tests as root."""
    global BIN_DIR, PROFILE
    if len(sys.argv) < 3:
        print("usage: test.py BIN_DIR PROFILE [unittest options]", file=sys.stderr)
        sys.exit(2)
    BIN_DIR, PROFILE = sys.argv[1], sys.argv[2]
    del sys.argv[1:3]
    if os.geteuid() != 0:
        print("SKIP: the dashboard takes the settings app's uid, which needs root")
        sys.exit(SKIP_EXIT)
    unittest.main(module="__main__", verbosity=2)
