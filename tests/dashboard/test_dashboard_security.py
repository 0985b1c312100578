"""asp_dashboard's own defences, seen from another local process that can reach its port: without
the session token, from a foreign Host (DNS rebinding) or Origin (another site), or as a GET for a
change, nothing is answered and nothing changes; and the process that answers is the settings app's
uid and nothing more."""
import json
import os
import unittest

import dashboard_harness
from dashboard_harness import Device

APP = "com.example.maps"


class DashboardSecurityTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.device = Device().start()

    @classmethod
    def tearDownClass(cls):
        cls.device.stop()

    def test_requests_without_token_or_from_elsewhere_get_nothing_and_change_nothing(self):
        device = self.device
        prefix = device.url.split(str(device.port), 1)[1].rstrip("/")  # "/s/<token>"
        own_host = f"127.0.0.1:{device.port}"
        own_origin = f"http://{own_host}"
        before = device.group_state(APP, "LOCATION")
        target = "DENY" if before != "DENY" else "ASK_EACH_TIME"
        change = json.dumps({"bundleName": APP, "permissionGroup": "LOCATION", "checkedState": target})
        as_json = {"Content-Type": "application/json"}
        wrong_token = prefix[:-1] + ("0" if prefix[-1] != "0" else "1")
        cases = [
            # name, method, path, headers, body, expected status
            ("no token", "GET", "/api/apps", {"Host": own_host}, None, 403),
            ("root without token", "GET", "/", {"Host": own_host}, None, 403),
            ("wrong token", "GET", wrong_token + "/api/apps", {"Host": own_host}, None, 403),
            ("token prefix only", "GET", prefix[:-8] + "/api/apps", {"Host": own_host}, None, 403),
            ("rebound host name", "GET", prefix + "/api/apps", {"Host": f"attacker.example:{device.port}"}, None,
             403),
            ("no Host", "GET", prefix + "/api/apps", {}, None, 403),
            ("two Hosts", "GET", prefix + "/api/apps", {"Host": own_host, "host": "attacker.example"}, None, 403),
            ("foreign Origin read", "GET", prefix + "/api/apps",
             {"Host": own_host, "Origin": "http://attacker.example"}, None, 403),
            ("other loopback port", "GET", prefix + "/api/apps",
             {"Host": own_host, "Origin": f"http://127.0.0.1:{device.port + 1}"}, None, 403),
            ("change as GET", "GET", prefix + "/api/set?bundleName=" + APP, {"Host": own_host}, None, 405),
            ("change without Origin", "POST", prefix + "/api/set", {"Host": own_host, **as_json}, change, 403),
            ("change from foreign Origin", "POST", prefix + "/api/set",
             {"Host": own_host, "Origin": "http://attacker.example", **as_json}, change, 403),
            ("change as a form", "POST", prefix + "/api/set",
             {"Host": own_host, "Origin": own_origin, "Content-Type": "text/plain"}, change, 415),
            ("change without token", "POST", "/api/set", {"Host": own_host, "Origin": own_origin, **as_json},
             change, 403),
            ("read as POST", "POST", prefix + "/api/apps", {"Host": own_host, "Origin": own_origin, **as_json},
             "{}", 405),
        ]
        for name, method, path, headers, body, expected in cases:
            with self.subTest(name):
                status, text = device.request(method, path, headers, body)
                self.assertEqual(status, expected, text)
                self.assertNotIn(APP, text, "a refusal must not carry the service's data")
        self.assertEqual(device.group_state(APP, "LOCATION"), before, "a refused request changed the state")

        # The same requests done right are answered: the refusals above are the guard's, not an outage.
        status, text = device.request("GET", prefix + "/api/apps", {"Host": own_host})
        self.assertEqual(status, 200, text)
        self.assertIn(APP, text)
        status, text = device.request("POST", prefix + "/api/set", {"Host": own_host, "Origin": own_origin,
                                                                       **as_json}, change)
        self.assertEqual(status, 200, text)
        self.assertEqual(device.group_state(APP, "LOCATION"), target)

    def test_server_runs_as_the_settings_app_alone(self):
        settings = self.device.tool("bm", "dump", "-n", dashboard_harness.SETTINGS)
        uid = next(line.split()[-1] for line in settings.stdout.splitlines() if line.startswith("uid:"))
        with open(f"/proc/{self.device.dashboard.pid}/status") as file:
            status = file.read()
        fields = dict(line.split(":", 1) for line in status.splitlines() if ":" in line)
        self.assertEqual(fields["Uid"].split(), [uid] * 4)
        self.assertEqual(fields["Gid"].split(), [uid] * 4)
        self.assertEqual(fields["Groups"].split(), [])
        self.assertEqual(int(fields["CapEff"], 16), 0)
        self.assertEqual(int(fields["CapPrm"], 16), 0)
        self.assertEqual(fields["NoNewPrivs"].strip(), "1")
        with open("/proc/net/tcp") as file:
            listening = [line.split() for line in file.read().splitlines()[1:]]
        own = [entry[1] for entry in listening if entry[3] == "0A" and int(entry[1].split(":")[1], 16) ==
               self.device.port]
        self.assertEqual(own, [f"0100007F:{self.device.port:04X}"], "listens on 127.0.0.1 only")


if __name__ == "__main__":
    dashboard_harness.main()
