#include "ServePages.h"

#include "report/HtmlText.h"
#include "report/ReportStyle.h"

namespace {

constexpr std::string_view kUploadPage = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>xmldsig: verify a signed XML document</title>
<style>
body { font-family: system-ui, sans-serif; margin: 2rem auto; max-width: 60rem; padding: 0 1rem; color: #1b1b1b; }
fieldset { border: 1px solid #bbb; border-radius: 4px; padding: 1rem; }
label { display: block; margin: .5rem 0; }
button { font-size: 1rem; padding: .4rem 1.2rem; margin-top: .5rem; }
#status { min-height: 1.5em; }
#report { width: 100%; height: 80vh; border: 1px solid #bbb; }
</style>
</head>
<body>
<h1>Verify a signed XML document</h1>
<form id="upload" method="post" action="/v1/verify?format=html" enctype="multipart/form-data">
<fieldset>
<label>Document <input type="file" name="document" required></label>
<label>Detached data for reference 0 (optional) <input type="file" name="data"></label>
<label><input type="checkbox" name="all" value="1"> every signature</label>
<label>or only the signature with Id <input type="text" name="signature-id"></label>
<button type="submit">Verify</button>
</fieldset>
</form>
<p id="status" role="status"></p>
<iframe id="report" title="report" hidden></iframe>
<script>
"use strict";
const form = document.getElementById("upload");
form.addEventListener("submit", async (event) => {
  event.preventDefault();
  const status = document.getElementById("status");
  const frame = document.getElementById("report");
  status.textContent = "Verifying...";
  try {
    const answer = await fetch(form.action, { method: "POST", body: new FormData(form) });
    frame.srcdoc = await answer.text();
    frame.hidden = false;
    status.textContent = answer.ok ? "" : "The server answered " + answer.status + ".";
  } catch (error) {
    status.textContent = "The server could not be reached: " + error;
  }
});
</script>
</body>
</html>
)html";

} // namespace

std::string_view uploadPage() {
    return kUploadPage;
}

std::string errorPage(std::string_view message) {
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>xmldsig: error</title><style>" +
           std::string(reportStyle()) + "</style></head><body><h1>The document was not verified</h1><p>" +
           htmlEscaped(message) + "</p></body></html>\n";
}

std::string_view uploadPagePolicy() {
    return "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; connect-src 'self'; "
           "form-action 'self'; frame-src 'self'";
}

std::string_view reportPagePolicy() {
    return "default-src 'none'; style-src 'unsafe-inline'; img-src data:";
}
