#pragma once

#include <openssl/types.h>

#include <string>
#include <vector>

// Where a certificate says its status is published, HTTP and HTTPS URLs only, in the order it names them:
// the OCSP responders of its Authority Information Access, and the full names of its CRL distribution points.
std::vector<std::string> ocspResponderUrls(X509* cert);
std::vector<std::string> crlDistributionUrls(X509* cert);
