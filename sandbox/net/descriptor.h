// A file descriptor with one owner.
#pragma once

#include <utility>

namespace velk::sandbox {

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { Close(); }

  int Get() const { return number_; }
  void Close();

 private:
  int number_;
};

}  // namespace velk::sandbox
