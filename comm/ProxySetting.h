// One system proxy setting as the text curl's -x option and libcurl take.
//
// Internal to the transport and its diagnostics tool: both read the proxy
// host through the documented buffer interface (`GetHTTPSProxySetting`,
// `GetHTTPProxySetting`) with the 150-byte buffer the transport has always
// passed, and write it with its port as "host:port".
#pragma once

#include <string>

class CommunicationLibrary;

namespace ProxySetting {

// Which of the two system proxies.
enum class Scheme { Http, Https };

// "host:port" of the `scheme` proxy when it is on and fully set, else "".
std::string HostAndPort(CommunicationLibrary& library, Scheme scheme);

} // namespace ProxySetting
