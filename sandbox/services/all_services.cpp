// The list of all simulated services.
#include "services/all_services.h"

#include <memory>

#include "services/facebook/facebook.h"
#include "services/twitter/twitter.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

std::vector<std::string_view> ServiceHosts() {
  std::vector<std::string_view> hosts;
  for (const std::span<const std::string_view> some : {std::span<const std::string_view>(Facebook::kHosts),
                                                       std::span<const std::string_view>(Twitter::kHosts),
                                                       std::span<const std::string_view>(Youtube::kHosts)})
    hosts.insert(hosts.end(), some.begin(), some.end());
  return hosts;
}

void AddAllServices(Services& services, Store& store, const std::string& sandboxUrl) {
  services.Add(std::make_unique<Facebook>(store));
  services.Add(std::make_unique<Twitter>(store));
  services.Add(std::make_unique<Youtube>(store, sandboxUrl));
}

}  // namespace velk::sandbox
