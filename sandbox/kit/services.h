// The simulated services: dispatches requests to them, and keeps what they store.
#pragma once

#include <boost/json/object.hpp>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "kit/content.h"
#include "kit/ledger.h"
#include "kit/reply.h"
#include "kit/service.h"

namespace velk::sandbox {

// Dispatches each request to the service of its host.
class Services {
 public:
  // What the services store outlives the process in the ledger, and pieces of uploads in the store.
  Services(Store& store, Ledger& ledger) : store_(store), ledger_(ledger) {}

  // Takes what an earlier process stored. Throws std::runtime_error when it is damaged.
  void Load();
  void Add(std::unique_ptr<Service> service);
  bool Simulates(std::string_view host) const;  // as a host of its own, with a certificate
  Reply Handle(const Head& head, std::shared_ptr<const Received> received);
  void TakePartial(const Head& head, std::shared_ptr<const Received> received);
  boost::json::object State() const;
  boost::json::object Switches() const;
  // Takes {"service": {"switch": number or null}}. Throws std::invalid_argument, which names the member.
  void SetSwitches(const boost::json::object& values);
  void Reset();

 private:
  Service* ServiceOf(std::string_view host) const;
  void Save(Service& service);
  std::optional<boost::json::object> SaveRecord(const Service& service, const Service::RecordId& id);
  void LoadRecord(const LedgerRecord& record);

  Store& store_;
  Ledger& ledger_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Service>> services_;
};

}  // namespace velk::sandbox
