// Matching a host against the proxy exceptions list (internal to the
// transport; exposed for its tests and fuzzer).
#pragma once

#include <string>
#include <vector>

#include "comm/platform/Network.h"

namespace ProxyExceptions {

// True when an entry exempts the host from the proxy: first by address
// prefix (one trailing "*" dropped), then by name, either exactly or as a
// domain suffix after a dot. "*.example.com" exempts nothing by name.
bool Exempts(const std::vector<std::string>& exceptions, const Network::HostInfo& host);

} // namespace ProxyExceptions
