#pragma once

#include <memory>
#include <string>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin::testing {

// An Xvfb of the test's own on a free display number, black behind the
// windows, set as $DISPLAY while it lives.
class PrivateXServer {
 public:
  PrivateXServer(int width, int height);
  ~PrivateXServer();
  const std::string& name() const { return name_; }
  // Ends the server under its clients' feet.
  void kill() { process_->stop(); }

 private:
  TempDir dir_;
  std::unique_ptr<ChildProcess> process_;
  std::string name_;
  std::string previousDisplay_;
  bool hadDisplay_ = false;
};

}  // namespace tavorin::testing
