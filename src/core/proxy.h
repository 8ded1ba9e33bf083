// The process-wide proxy setting, the only library data that all calls share.
#pragma once

namespace velk {

// The proxy for new transfers; empty if none is set.
const char* ProxyAddress() noexcept;

}  // namespace velk
