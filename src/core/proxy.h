// The process-wide proxy setting.
#pragma once

namespace velk {

// The proxy that every request takes up when it is set up; empty for none.
const char* ProxyAddress() noexcept;

}  // namespace velk
