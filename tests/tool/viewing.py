"""norveltl view as a program that serves, for tests that talk to it as browsers do."""
import http.client
import json
import re
import time
import urllib.parse

from harness import ToolTest


class Server:
    """One running norveltl view, and what a page that was let in asks it."""

    def __init__(self, process):
        self.process = process
        self.url = process.stdout.readline().decode().strip()
        found = re.fullmatch(r"http://([^/]+):(\d+)/(?:\?token=([0-9a-f]{32}))?", self.url)
        if not found:
            raise AssertionError(f"no address: {self.url} {process.stderr.read() if process.poll() else ''}")
        self.name, self.port, self.token = found[1], int(found[2]), found[3]
        self.host = f"{self.name}:{self.port}"

    @property
    def cookie(self):
        return f"norveltl-{self.port}={self.token}"

    def send(self, method, path, body=None, to="127.0.0.1", **headers):
        """The answer to one request to an address: its status, headers and body. A header of None is left out."""
        headers = {"Host": self.host, "Cookie": self.cookie, **{name.replace("_", "-"): text for name, text in headers.items()}}
        connection = http.client.HTTPConnection(to, self.port, timeout=20)
        try:
            connection.putrequest(method, path, skip_host=True)
            for name, text in headers.items():
                if text is not None:
                    connection.putheader(name, text)
            if body is not None:
                connection.putheader("Content-Length", str(len(body)))
            connection.endheaders(body)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def log_in(self, password, **headers):
        body = urllib.parse.urlencode({"password": password}).encode()
        return self.send("POST", "/login", body, Cookie=None, Content_Type="application/x-www-form-urlencoded", **headers)

    def ask(self, path, **parameters):
        """What the page asks for, as JSON, or the refusal's status and text."""
        return self.result(*self.send("GET", f"/api/{path}?{urllib.parse.urlencode(parameters, doseq=True)}"))

    def order(self, path, **body):
        return self.result(*self.send("POST", f"/api/{path}", json.dumps(body).encode(), Content_Type="application/json"))

    @staticmethod
    def result(status, _, body):
        return json.loads(body) if status == 200 else (status, body.decode().strip())

    def picture(self, camera, after=0, **parameters):
        """The facts of the newest picture and its samples."""
        query = urllib.parse.urlencode({"camera": camera, "after": after, **parameters})
        status, headers, body = self.send("GET", f"/api/picture?{query}")
        if status != 200:
            return status, body.decode().strip()
        return json.loads(headers["Picture"]), body


class ViewTest(ToolTest):
    def serve(self, *arguments, **options):
        return self.adopt(self.start("view", "--no-browser", *arguments, **options))

    def adopt(self, process):
        def end():
            if process.poll() is None:
                self.interrupt(process)
            process.stdout.close()
            process.stderr.close()
        self.addCleanup(end)
        return Server(process)

    def wait_for(self, what, seconds=20):
        """The first answer that is not false."""
        end = time.monotonic() + seconds
        while True:
            found = what()
            if found:
                return found
            self.assertLess(time.monotonic(), end, "what was waited for did not come")
            time.sleep(0.05)
