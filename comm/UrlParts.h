// The parts of a URL the transport reads: its scheme, host and port.
//
// Reachability, the proxy decision and the diagnostics tool all take these
// parts from a URL the same way. The scheme stays exactly as written
// ("HTTP" is not "http"), since the proxy decision compares it by case; the
// host comes from the authority without user information, port or IPv6
// brackets. Pure text handling: nothing is looked up.
#pragma once

#include <string>

namespace Url {

// A URL's scheme, host and port text, each empty when the URL has none.
struct Parts {
    // The scheme, exactly as written ("HTTP").
    std::string scheme;
    // The host without user information, port or IPv6 brackets ("::1").
    std::string host;
    // The port as written ("8080").
    std::string port;
};

// The parts of `url`. A URL without "//" after its scheme has no host
// ("mailto:someone@example.com"); text without a scheme has none at all.
Parts Split(const std::string& url);

} // namespace Url
