#include "kit/control.h"

#include <algorithm>
#include <array>

#include "kit/command.h"
#include "kit/control_reply.h"
#include "kit/download.h"
#include "kit/failure.h"
#include "kit/page.h"
#include "kit/reply.h"
#include "kit/watch.h"
#include "net/input.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestBody = 1024 * 1024;

// A page of another origin can name this URL too, or a name of its own that leads here. Its requests carry
// that name as Host, or its origin.
bool IsForeign(const Head& head, std::uint16_t port) {
  const std::string suffix = ":" + std::to_string(port);
  const std::array<std::string, 3> own{"127.0.0.1" + suffix, "localhost" + suffix, "[::1]" + suffix};
  const auto isOwn = [&](std::string_view name) { return std::ranges::find(own, name) != own.end(); };
  const std::string origin = Lower(head.Header("Origin"));
  const bool ownOrigin = origin.starts_with("http://") && isOwn(std::string_view(origin).substr(7));
  return !isOwn(Lower(head.Header("Host"))) || (!origin.empty() && !ownOrigin);
}

Reply Run(World& world, const Head& head, std::string body) {
  if (head.method == "GET") {
    if (auto page = FindPage(head.Path())) return std::move(*page);
  }
  return RunCommand(world, {head.method, head.Path(), ParsePairs(head.Query()), std::move(body)});
}

BadRequest TooLarge() { return {413, "the body is larger than " + std::to_string(kLargestBody) + " bytes"}; }

awaitable<std::string> ReadBody(Stream& stream, Input& input, const Head& head) {
  if (head.length.value_or(0) > kLargestBody) throw TooLarge();
  if (head.expectsContinue) co_await stream.Write(kContinue);
  std::string body;
  for (BodyDecoder decoder(head); !decoder.Complete();) {
    body += co_await input.ReadContent(decoder, kLargestBody);
    if (body.size() > kLargestBody) throw TooLarge();
  }
  co_return body;
}

awaitable<void> Send(Stream& stream, Reply reply) {
  const Reply hardened = Hardened(std::move(reply));
  const std::string bytes = SerializeHead(hardened, false) + hardened.body;
  co_await stream.Write(bytes);
}

awaitable<void> ServeCommand(Stream& stream, World& world, const Head& head, std::string body) {
  const std::string path = head.Path();
  const bool reads = head.method == "GET";
  if (IsForeign(head, world.control.Port())) {
    co_await Send(stream, ControlError(403, "the Host or the Origin of the request is not this URL's"));
  } else if (reads && path == "/events") {
    co_await ServeEvents(stream, world, head);
  } else if (reads && NamesDownload(path)) {
    const auto download = FindDownload(world, path);
    if (download)
      co_await ServeDownload(stream, *download, head);
    else
      co_await Send(stream, ControlError(404, "there is no such content: " + path));
  } else {
    co_await Send(stream, Run(world, head, std::move(body)));
  }
}

awaitable<void> ServeCommands(Stream& stream, World& world) {
  Input input(stream);
  while (const auto head = co_await input.ReadHead()) {
    std::string body = co_await ReadBody(stream, input, *head);
    co_await ServeCommand(stream, world, *head, std::move(body));
    if (!head->keepAlive) break;
  }
  co_await stream.End();
}

}  // namespace

awaitable<void> ServeControl(Stream& stream, World& world) {
  co_await ReplyToFailure(stream, ServeCommands(stream, world));
}

}  // namespace velk::sandbox
