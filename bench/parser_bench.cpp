// Times the readers of replies: the tokenizer byte by byte, and an extractor over a large reply.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "json/json.h"

namespace {

constexpr int kRuns = 7;

// The median processor time of a piece of work, in seconds.
template <typename Work>
double Time(Work work) {
  std::vector<double> times;
  for (int run = 0; run < kRuns; ++run) {
    const std::clock_t began = std::clock();
    work();
    times.push_back(static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC);
  }
  std::sort(times.begin(), times.end());
  return times[kRuns / 2];
}

// A reply as the services send them, of at least the given size.
std::string Reply(size_t size) {
  std::string reply = "{\"data\": [";
  for (int item = 0; reply.size() < size; ++item) {
    if (item > 0) reply += ", ";
    reply +=
        R"({"name": "A page of some kind", "category": "Community", "number": )" + std::to_string(item * 37) +
        R"(, "perms": ["ADMINISTER", "EDIT_PROFILE"], "picture": {"url": "https:\/\/example.org\/p.jpg"}})";
  }
  return reply + "], \"id\": \"1234567890\", \"end\": true}";
}

void TimeTokenizer() {
  const std::string reply = Reply(4 << 20);
  int failure = 0;
  const double seconds = Time([&] {
    velk::JsonParser parser;
    velk::JsonParserInit(&parser, nullptr, nullptr, nullptr);
    for (const char& byte : reply) failure |= velk::JsonParserFeed(&parser, &byte, 1, nullptr);
    velk::JsonParserFree(&parser);
  });
  std::printf("tokenizer, byte by byte: %.0f MB/s%s\n", static_cast<double>(reply.size()) / seconds / 1e6,
              failure == 0 ? "" : " (failed)");
}

void TimeExtractor() {
  const std::string reply = Reply(64 << 10);
  char value[1024];
  int outcome = 0;
  const double seconds = Time([&] { outcome |= velk::JsonGetStringValue(reply, "id", value); });
  std::printf("extractor, over 64 KiB: %.3f ms%s\n", seconds * 1e3, outcome == 0 ? "" : " (failed)");
}

}  // namespace

int main() {
  TimeTokenizer();
  TimeExtractor();
}
