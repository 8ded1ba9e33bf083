// Replaces secrets in what is recorded of one exchange: tokens, secrets, signatures, PINs, credentials in
// headers.
//
// A secret is found by its name (kit/secret_names.h). Once it is known, it is also replaced wherever else it
// is in the same exchange, such as in the message of an error.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kit/intake.h"
#include "net/head.h"

namespace velk::sandbox {

inline constexpr std::string_view kHidden = "…";

// A body that was not kept for its size is only counted.
struct BodyText {
  std::string bytes;
  std::uint64_t size = 0;
};

class Secrets {
 public:
  explicit Secrets(bool areHidden) : areHidden_(areHidden) {}  // otherwise everything is returned unchanged

  Head Hide(Head head);
  std::string HideHead(std::string_view raw);  // of a request or a reply
  std::string Hide(const std::string& text);
  std::shared_ptr<const Received> Hide(Store& store, const Head& head,
                                       std::shared_ptr<const Received> received);
  // The header lines are those of the message that has the body.
  std::shared_ptr<const Content> Hide(Store& store, const std::vector<std::string>& lines,
                                      const BodyText& body);

 private:
  std::string ByName(std::string_view text);
  std::string ByNameInLine(std::string_view line);
  std::string ByNameInForm(std::string_view body);
  std::string ByNameInParts(std::string_view body, const std::string& boundary);
  std::string ByNameInBody(const std::vector<std::string>& lines, const std::string& body);
  std::string ByValue(std::string text) const;
  std::string HideBody(const std::vector<std::string>& lines, const std::string& body);
  FormPart HidePart(Store& store, const FormPart& part);
  void Learn(std::string_view value);

  const bool areHidden_;
  std::vector<std::string> known_;  // the longest first
};

}  // namespace velk::sandbox
