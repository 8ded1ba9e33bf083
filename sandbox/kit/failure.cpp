#include "kit/failure.h"

#include <optional>
#include <string>
#include <system_error>

#include "kit/reply.h"
#include "net/head.h"

namespace velk::sandbox {
namespace {

struct Failure {
  int status = 0;
  std::string message;
};

// A coroutine cannot send a reply inside of catch.
awaitable<std::optional<Failure>> FailureOf(awaitable<void> serving) {
  try {
    co_await std::move(serving);
    co_return std::nullopt;
  } catch (const BadRequest& bad) {
    co_return Failure{bad.status, bad.message};
  } catch (const std::system_error& error) {
    co_return Failure{kStoreIsFull, error.what()};
  }
}

}  // namespace

awaitable<void> ReplyToFailure(Stream& stream, awaitable<void> serving) {
  const auto failure = co_await FailureOf(std::move(serving));
  if (!failure) co_return;
  const Reply reply = JsonReply(failure->status, {{"error", failure->message}});
  const std::string bytes = SerializeHead(reply, false) + reply.body;
  co_await stream.Write(bytes);
  co_await stream.End();
}

}  // namespace velk::sandbox
