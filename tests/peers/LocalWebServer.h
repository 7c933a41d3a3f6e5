#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "support/ChildProcess.h"

namespace tavorin::testing {

// A folder served over HTTP on 127.0.0.1 by Python's http.server, started by
// the test (tests/peers/scripts/web_pages.py, which also serves a page that
// never finishes loading at /never).
class LocalWebServer {
 public:
  explicit LocalWebServer(const std::filesystem::path& folder);
  ~LocalWebServer();
  std::string url(const std::string& path) const;

 private:
  int port_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tavorin::testing
