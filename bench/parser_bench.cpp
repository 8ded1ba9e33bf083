// Times the reply parsers: the tokenizer one byte at a time, an extractor on a large reply, and the slowest
// input shapes.
//
// Usage: parser_bench [escapes|attributes SIZE]
//
// With a shape and a size in bytes, parses that input once, for measurement with an instruction counter.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "json/json.h"
#include "xml/xml.h"

namespace {

constexpr int kRuns = 7;

// Returns the median CPU time of several runs, in seconds.
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

// Builds a reply like those of the services, at least `size` bytes long.
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
  std::printf("tokenizer, one byte per call: %.0f MB/s%s\n",
              static_cast<double>(reply.size()) / seconds / 1e6, failure == 0 ? "" : " (failed)");
}

// A string made only of escapes. The extractor examines the token at every escape.
bool ReadEscapes(size_t size) {
  std::string reply = "{\"k\":\"";
  while (reply.size() + 4 < size) reply += "\\n";
  reply += "\"}";
  char value[16];
  return velk::JsonGetStringValue(reply, "id", value) == 1;
}

// One start tag: half of it is the name, half attributes. The element also has one declared attribute.
bool ReadAttributes(size_t size) {
  const std::string name(size / 2, 'n');
  std::string document = "<!DOCTYPE r [<!ATTLIST " + name + " a CDATA ''>]><" + name;
  while (document.size() + 7 < size + name.size()) document += " b='v'";
  document += "/>";
  return velk::XmlTree(velk::XmlParseString(document.data(), document.size())) != nullptr;
}

struct Shape {
  const char* name;
  bool (*read)(size_t size);
};
constexpr Shape kShapes[] = {{"escapes", ReadEscapes}, {"attributes", ReadAttributes}};

void TimeShapes() {
  for (const Shape& shape : kShapes) {
    bool read = true;
    const double seconds = Time([&] { read = read && shape.read(10 << 20); });
    std::printf("hostile %s, 10 MiB: %.3f s%s\n", shape.name, seconds, read ? "" : " (failed)");
  }
}

int ReadOnce(const std::string& name, size_t size) {
  for (const Shape& shape : kShapes)
    if (shape.name == name) return shape.read(size) ? 0 : 1;
  std::fprintf(stderr, "parser_bench: unknown input shape %s\n", name.c_str());
  return 2;
}

void TimeExtractor() {
  const std::string reply = Reply(64 << 10);
  char value[1024];
  int outcome = 0;
  const double seconds = Time([&] { outcome |= velk::JsonGetStringValue(reply, "id", value); });
  std::printf("extractor, 64 KiB reply: %.3f ms%s\n", seconds * 1e3, outcome == 0 ? "" : " (failed)");
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3) return ReadOnce(arguments[1], std::strtoul(arguments[2], nullptr, 10));
  TimeTokenizer();
  TimeExtractor();
  TimeShapes();
}
