"""The upload page in headless Chromium, driven through the DevTools protocol over a pipe:
a user picks a document and clicks Verify, with the page's script off (a plain form post)
and on (the report shown below the form)."""
import json
import os
import shutil
import subprocess
import time

import pytest

from conftest import REAL_DIR, TOOL, Server

VALID = REAL_DIR / "xades" / "xades4j-document.signed.t.bes.xml"
TAMPERED = REAL_DIR / "xades" / "xades4j-document.signed.bes-tamper.xml"
SIGNER = "CN=Luis Goncalves, OU=CC, O=ISEL, C=PT"


class Browser:
    """Chromium with --remote-debugging-pipe: commands on fd 3, answers and events on fd 4,
    each message JSON ended by a NUL."""

    def __init__(self, profile):
        to_browser, self._commands = os.pipe()
        self._events, from_browser = os.pipe()

        def plumb():
            os.dup2(to_browser, 3)
            os.dup2(from_browser, 4)

        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--remote-debugging-pipe",
             f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=plumb, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer = b""
        self._next_id = 0
        self._pending = []
        target = next(t for t in self.send("Target.getTargets")["targetInfos"] if t["type"] == "page")
        self.session = self.send("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        self.page("Page.enable")

    def _read(self):
        while b"\0" not in self._buffer:
            chunk = os.read(self._events, 1 << 16)
            assert chunk, "chromium closed its pipe"
            self._buffer += chunk
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)

    def send(self, method, session=None, **params):
        self._next_id += 1
        message = {"id": self._next_id, "method": method, "params": params}
        if session:
            message["sessionId"] = session
        os.write(self._commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._read()
            if answer.get("id") == self._next_id:
                assert "error" not in answer, answer
                return answer["result"]
            self._pending.append(answer)

    def page(self, method, **params):
        return self.send(method, self.session, **params)

    def wait_for(self, event, seconds=30):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            while self._pending:
                if self._pending.pop(0).get("method") == event:
                    return
            self._pending.append(self._read())
        pytest.fail(f"no {event} within {seconds} s")

    def open(self, url):
        self.page("Page.navigate", url=url)
        self.wait_for("Page.loadEventFired")

    def node(self, selector):
        root = self.page("DOM.getDocument")["root"]["nodeId"]
        return self.page("DOM.querySelector", nodeId=root, selector=selector)["nodeId"]

    def choose_file(self, selector, path):
        self.page("DOM.setFileInputFiles", nodeId=self.node(selector), files=[str(path)])

    def click(self, selector):
        quad = self.page("DOM.getBoxModel", nodeId=self.node(selector))["model"]["content"]
        x, y = (quad[0] + quad[4]) / 2, (quad[1] + quad[5]) / 2
        for kind in ("mousePressed", "mouseReleased"):
            self.page("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def html(self):
        root = self.page("DOM.getDocument", depth=-1, pierce=True)["root"]
        return self.page("DOM.getOuterHTML", nodeId=root["nodeId"])["outerHTML"]

    def evaluate(self, expression):
        return self.page("Runtime.evaluate", expression=expression, returnByValue=True)["result"].get("value")

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self._commands)
        os.close(self._events)


@pytest.fixture(scope="module")
def page_server(tmp_path_factory):
    anchor = tmp_path_factory.mktemp("anchor") / "signer.pem"
    anchor.write_bytes(subprocess.run([TOOL, "certs", str(VALID)], capture_output=True, check=True).stdout)
    server = Server("--threads", "1", "--trust", str(anchor))
    yield server
    assert server.stop() == 0


@pytest.fixture
def browser(tmp_path):
    if shutil.which("chromium") is None:
        pytest.skip("chromium is not installed (scripts/install-deps installs it)")
    b = Browser(tmp_path / "profile")
    yield b
    b.close()


def test_the_form_posts_without_script_and_shows_the_report(page_server, browser):
    browser.page("Emulation.setScriptExecutionDisabled", value=True)
    browser.open(page_server.url + "/")
    browser.choose_file("input[name=document]", TAMPERED)
    browser.click("button[type=submit]")
    browser.wait_for("Page.loadEventFired")
    report = browser.html()
    assert "Signature report: xades4j-document.signed.bes-tamper.xml" in report
    for shown in (">TOTAL_FAILED<", ">HASH_FAILURE<", SIGNER):
        assert shown in report


def test_the_script_shows_the_report_below_the_form(page_server, browser):
    browser.open(page_server.url + "/")
    browser.choose_file("input[name=document]", VALID)
    browser.click("button[type=submit]")
    frame = "document.getElementById('report')"
    deadline = time.monotonic() + 30
    while not browser.evaluate(f"!{frame}.hidden && {frame}.contentDocument.readyState == 'complete'"):
        assert time.monotonic() < deadline, browser.evaluate("document.getElementById('status').textContent")
        time.sleep(0.1)
    report = browser.evaluate(f"{frame}.contentDocument.documentElement.outerHTML")
    assert ">TOTAL_PASSED<" in report and SIGNER in report
    assert browser.evaluate("location.pathname") == "/"  # still the upload page, the report inside it
