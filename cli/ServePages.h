#pragma once

#include <string>
#include <string_view>

// The pages `xmldsig serve` gives a browser, each whole in itself (no
// external resources). The upload page works as a plain form that posts the
// document and shows the report page; its script, when it runs, shows the
// report below the form instead.
std::string_view uploadPage();
std::string errorPage(std::string_view message);

// Content-Security-Policy headers: the upload page may post and fetch to its
// own origin only; a report page, built from the document's text, may load
// nothing and run nothing.
std::string_view uploadPagePolicy();
std::string_view reportPagePolicy();
