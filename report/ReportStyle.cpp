#include "ReportStyle.h"

std::string_view reportStyle() {
    return R"css(
:root { color-scheme: light; --ok: #1b6e3a; --warn: #8a5a00; --bad: #a4161a; --line: #d0d4da; --muted: #5a6270; }
* { box-sizing: border-box; }
body { font: 15px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", Arial, sans-serif;
       color: #1d2228; background: #fff; margin: 0 auto; max-width: 72rem; padding: 1.5rem; }
h1 { font-size: 1.5rem; margin: 0 0 .25rem; }
h2 { font-size: 1.25rem; margin: 2rem 0 .5rem; border-bottom: 2px solid var(--line); padding-bottom: .25rem; }
h3 { font-size: 1.05rem; margin: 1.5rem 0 .5rem; }
.file { color: var(--muted); margin: 0; word-break: break-all; }
.banner { border-radius: 6px; padding: .75rem 1rem; margin: 1rem 0; color: #fff; }
.banner .token { font: 700 1.6rem/1.2 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; letter-spacing: .03em; }
.banner .sub { font: 600 1.1rem ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; margin-left: .75rem; }
.banner .level { float: right; font-weight: 600; }
.banner p { margin: .35rem 0 0; }
.passed { background: var(--ok); }
.indeterminate { background: var(--warn); }
.failed { background: var(--bad); }
table { border-collapse: collapse; width: 100%; margin: .25rem 0 1rem; }
th, td { border: 1px solid var(--line); padding: .3rem .5rem; text-align: left; vertical-align: top;
         overflow-wrap: break-word; }
td code, td .mono { overflow-wrap: anywhere; }
th { background: #f2f4f7; font-weight: 600; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .2rem 1rem; margin: .25rem 0 1rem; }
dt { font-weight: 600; color: var(--muted); }
dd { margin: 0; word-break: break-word; }
code, pre, .mono { font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: .88em; }
pre { white-space: pre-wrap; word-break: break-all; background: #f6f8fa; border: 1px solid var(--line);
      padding: .35rem .5rem; margin: .25rem 0 0; }
.yes { color: var(--ok); font-weight: 600; }
.no { color: var(--bad); font-weight: 600; }
.unknown { color: var(--warn); font-weight: 600; }
.failures li { margin: .2rem 0; }
.none { color: var(--muted); font-style: italic; }
footer { margin-top: 2rem; color: var(--muted); font-size: .85rem; }
@media print {
  body { max-width: none; padding: 0; font-size: 10.5pt; }
  .banner, th, pre { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  section.signature { break-before: page; }
  section.signature:first-of-type { break-before: auto; }
  h2, h3 { break-after: avoid; }
  tr, dl, .banner { break-inside: avoid; }
}
)css";
}
