#include "core/proxy.h"

#include <array>

#include "core/text.h"
#include "velk_upload.h"

namespace velk {
namespace {

std::array<char, 256> proxyAddress{};

}  // namespace

const char* ProxyAddress() noexcept { return proxyAddress.data(); }

}  // namespace velk

int32_t SetLibVelkUploadProxy(const char* proxy) noexcept {
  velk::proxyAddress.fill('\0');
  velk::CopyText(proxy ? proxy : "", velk::proxyAddress);
  return VELK_OK;
}

int32_t GetLibVelkUploadProxy(char* outProxy, const int32_t* size) noexcept {
  if (!outProxy || !size) return VELK_MISSING_ARGUMENT;
  if (*size < static_cast<int32_t>(velk::proxyAddress.size())) return VELK_BUFFER_TOO_SMALL;
  velk::CopyText(velk::proxyAddress.data(), {outProxy, velk::proxyAddress.size()});
  return VELK_OK;
}
