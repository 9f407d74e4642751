#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <string_view>
#include <vector>

// Every X509 CRL block of PEM text, else the one DER CRL the bytes hold;
// empty when they hold neither.
std::vector<X509CrlPtr> parseCrls(std::string_view bytes);
