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
#include "kit/objects.h"
#include "kit/reply.h"
#include "kit/service.h"

namespace velk::sandbox {

// Dispatches each request to the service of its host.
class Services {
 public:
  // What the services store outlives the process in the ledger, and pieces of uploads in the store. What
  // becomes of it is noted for people.
  Services(Store& store, Ledger& ledger, Objects& objects)
      : store_(store), ledger_(ledger), objects_(objects) {}

  // Takes what an earlier process stored. Throws std::runtime_error when it is damaged.
  void Load();
  void Add(std::unique_ptr<Service> service);
  bool Simulates(std::string_view host) const;  // as a host of its own, with a certificate
  // The exchange is the number of the request in the journal.
  Reply Handle(const Head& head, std::shared_ptr<const Received> received, std::uint64_t exchange);
  void TakePartial(const Head& head, std::shared_ptr<const Received> received, std::uint64_t exchange);
  // What a user's browser gets who agrees to the sign-in with that token. None: no service has that sign-in.
  std::optional<Reply> Authorize(const std::string& token);
  boost::json::object State() const;
  boost::json::object Hosts() const;  // of each service
  boost::json::object Switches() const;
  // Takes {"service": {"switch": number or null}}. Throws std::invalid_argument, which names the member.
  void SetSwitches(const boost::json::object& values);
  void Reset();

 private:
  Service* ServiceOf(std::string_view host) const;
  void Note(const Service& service, std::uint64_t exchange);
  void Save(Service& service);
  std::optional<boost::json::object> SaveRecord(const Service& service, const Service::RecordId& id);
  void LoadRecord(const LedgerRecord& record);

  Store& store_;
  Ledger& ledger_;
  Objects& objects_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Service>> services_;
};

}  // namespace velk::sandbox
