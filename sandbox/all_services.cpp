// Enters every stand-in service of the kit.
#include "facebook.h"
#include "service.h"
#include "twitter.h"
#include "youtube.h"

namespace velk::sandbox {

void AddAllServices(Services& services, Store& store, const std::string& address) {
  services.Add(std::make_unique<Facebook>(store));
  services.Add(std::make_unique<Twitter>(store));
  services.Add(std::make_unique<Youtube>(store, address));
}

}  // namespace velk::sandbox
