#include "kit/version.h"

namespace velk::sandbox {

const std::string_view kVersion = VELK_SANDBOX_VERSION;

}  // namespace velk::sandbox
