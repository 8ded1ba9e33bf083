#include "net/workers.h"

namespace velk::sandbox {

Workers::Workers(unsigned threads) : workers_(threads) {}

Workers::~Workers() {
  for (Worker& worker : workers_) worker.idle.reset();
  for (Worker& worker : workers_) worker.thread.join();
}

asio::io_context::executor_type Workers::Next() {
  return workers_[next_++ % workers_.size()].context.get_executor();
}

}  // namespace velk::sandbox
