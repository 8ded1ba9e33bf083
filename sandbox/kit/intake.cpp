#include "kit/intake.h"

#include <utility>

#include "net/text.h"

namespace velk::sandbox {
namespace {

std::optional<std::string> Boundary(const Head& head, bool isLenient) try {
  return FormBoundary(head.Header("Content-Type"));
} catch (const BadRequest&) {
  if (!isLenient) throw;
  return std::nullopt;
}

}  // namespace

// The parts of a large form are stored one by one, so its body as a whole is only hashed.
Intake::Intake(Store& store, const Head& head, Form form)
    : isLenient_(form == Form::kLenient),
      boundary_(Boundary(head, isLenient_)),
      body_(store,
            boundary_ && store.LargeContents() == Large::kStore ? Large::kHashOnly : store.LargeContents()) {
  if (boundary_) form_.emplace(store, *boundary_);
  if (!isLenient_ && SameName(head.Header("Content-Encoding"), "gzip")) gunzip_.emplace();
}

void Intake::Append(std::string_view bytes) {
  if (gunzip_)
    AppendExpanded(gunzip_->Expand(bytes));
  else
    AppendExpanded(bytes);
}

void Intake::AppendExpanded(std::string_view bytes) {
  body_.Append(bytes);
  if (!form_) return;
  try {
    form_->Feed(bytes);
  } catch (const BadRequest&) {
    if (!isLenient_) throw;
    form_.reset();
  }
}

std::shared_ptr<const Received> Intake::Finish() {
  body_.Finish();
  if (gunzip_ && !gunzip_->Complete()) throw Malformed("the compressed body ends too early");
  const bool isCut = form_ && body_.Size() > 0 && !form_->Complete();
  if (isCut && !isLenient_) throw Malformed("the form ends before its last delimiter");
  const bool hasFields = form_ && !isCut;
  return std::make_shared<Received>(
      Received{std::move(body_), hasFields ? form_->TakeParts() : std::vector<FormPart>()});
}

std::shared_ptr<const Received> Intake::FinishPart() {
  body_.Finish();
  return std::make_shared<Received>(Received{std::move(body_), {}});
}

}  // namespace velk::sandbox
