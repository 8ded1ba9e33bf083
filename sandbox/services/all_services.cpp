// The list of all simulated services.
#include "services/all_services.h"

#include <memory>

#include "services/facebook/facebook.h"
#include "services/twitter/twitter.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

void AddAllServices(Services& services, Store& store, const std::string& sandboxUrl) {
  services.Add(std::make_unique<Facebook>(store));
  services.Add(std::make_unique<Twitter>(store));
  services.Add(std::make_unique<Youtube>(store, sandboxUrl));
}

}  // namespace velk::sandbox
