#pragma once

// What the shared library exports: the API and nothing else.
#define XMLDSIG_API __attribute__((visibility("default")))
