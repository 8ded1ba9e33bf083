#include "kit/intake.h"

#include <utility>

namespace velk::sandbox {

// The parts of a large form are stored one by one, so its body as a whole is only hashed.
Intake::Intake(Store& store, const Head& head)
    : boundary_(FormBoundary(head.Header("Content-Type"))),
      body_(store,
            boundary_ && store.LargeContents() == Large::kStore ? Large::kHashOnly : store.LargeContents()) {
  if (boundary_) form_.emplace(store, *boundary_);
}

void Intake::Append(std::string_view bytes) {
  body_.Append(bytes);
  if (form_) form_->Feed(bytes);
}

std::shared_ptr<const Received> Intake::Finish() {
  body_.Finish();
  if (form_ && body_.Size() > 0 && !form_->Complete())
    throw Malformed("the form ends before its last delimiter");
  return std::make_shared<Received>(
      Received{std::move(body_), form_ ? form_->TakeParts() : std::vector<FormPart>()});
}

std::shared_ptr<const Received> Intake::FinishPart() {
  body_.Finish();
  return std::make_shared<Received>(Received{std::move(body_), {}});
}

}  // namespace velk::sandbox
