// A file descriptor with one owner.
#include "net/descriptor.h"

#include <unistd.h>

namespace velk::sandbox {

void Descriptor::Close() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

}  // namespace velk::sandbox
