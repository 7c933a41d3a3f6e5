#include "peers/NginxRtmp.h"

#include <unistd.h>

#include <csignal>

#include <stdexcept>
#include <thread>
#include <vector>

#include "support/LoopbackPorts.h"

namespace tavorin::testing {
namespace {

const std::filesystem::path kModules = "/usr/lib/nginx/modules";
const char* const kApps[] = {"live", "live2", "live3", "auth"};

[[noreturn]] void fail(const std::string& why) { throw std::runtime_error("nginx-rtmp peer: " + why); }

std::filesystem::path module(const std::string& name, const std::string& package) {
  const auto path = kModules / name;
  if (!std::filesystem::exists(path)) fail(path.string() + " is missing (install the Debian package " + package + ")");
  return path;
}

}  // namespace

NginxRtmp::NginxRtmp() {
  const std::string nginx = findProgram("nginx", "nginx");
  const std::string openssl = findProgram("openssl", "openssl");
  module("ngx_rtmp_module.so", "libnginx-mod-rtmp");
  module("ngx_stream_module.so", "libnginx-mod-stream");

  std::filesystem::create_directories(dir_ / "tmp");
  std::filesystem::permissions(dir_ / "tmp", std::filesystem::perms::all);
  for (const char* app : kApps) {
    // nginx's workers may run as another user than the one who made the folder.
    std::filesystem::create_directories(dir_ / ("rec-" + std::string(app)));
    std::filesystem::permissions(dir_ / ("rec-" + std::string(app)), std::filesystem::perms::all);
  }
  const auto ports = freeLoopbackPorts(3);
  rtmpPort_ = ports[0];
  rtmpsPort_ = ports[1];
  httpPort_ = ports[2];

  if (runProcess({openssl, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1",
                  "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", (dir_ / "key.pem").string(), "-out",
                  certificate().string()},
                 dir_ / "openssl.log") != 0) {
    fail("openssl could not make a certificate:" + logTail(dir_ / "openssl.log"));
  }
  writeConfig();
  start();
}

void NginxRtmp::restart() {
  // Killed, as a crashed or rebooted server goes: no goodbye to its clients.
  server_->signal(SIGKILL);
  server_->wait(5);
  server_.reset();
  start();
}

void NginxRtmp::start() {
  const std::string nginx = findProgram("nginx", "nginx");
  SpawnOptions options;
  options.ownSession = true;
  server_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{nginx, "-p", dir_.path().string(), "-e", (dir_ / "error.log").string(), "-c",
                               (dir_ / "nginx.conf").string()},
      dir_ / "nginx.log", options);
  for (int i = 0; i < 250; ++i) {
    if (acceptsConnections(rtmpPort_) && acceptsConnections(rtmpsPort_) && acceptsConnections(httpPort_)) return;
    if (!server_->running()) {
      fail("nginx exited during start-up:" + logTail(dir_ / "nginx.log") + logTail(dir_ / "error.log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  fail("nginx did not accept connections on ports " + std::to_string(rtmpPort_) + ", " + std::to_string(rtmpsPort_) +
       ", " + std::to_string(httpPort_) + " within 5 s:" + logTail(dir_ / "error.log"));
}

// On SIGTERM the master takes its workers along; one that must be killed takes
// them with it through the process group.
NginxRtmp::~NginxRtmp() {
  if (server_) server_->stop();
}

std::string NginxRtmp::url(const std::string& app) const {
  return "rtmp://127.0.0.1:" + std::to_string(rtmpPort_) + "/" + app;
}

std::string NginxRtmp::rtmpsURL(const std::string& app) const {
  return "rtmps://127.0.0.1:" + std::to_string(rtmpsPort_) + "/" + app;
}

std::filesystem::path NginxRtmp::recording(const std::string& app, const std::string& key) const {
  return dir_ / ("rec-" + app) / (key + ".flv");
}

void NginxRtmp::writeConfig() const {
  const std::string dir = dir_.path().string();
  std::string applications;
  for (const std::string app : kApps) {
    applications += "    application " + app + " {\n      live on;\n      record all;\n      record_path " + dir +
                    "/rec-" + app + ";\n      record_unique off;\n";
    if (app == "auth") {
      applications += "      on_publish http://127.0.0.1:" + std::to_string(httpPort_) +
                      "/auth;\n      notify_method get;\n";
    }
    applications += "    }\n";
  }
  writeFile(dir_ / "nginx.conf",
            "load_module " + (kModules / "ngx_rtmp_module.so").string() + ";\n" +
            "load_module " + (kModules / "ngx_stream_module.so").string() + ";\n" +
            // As root, nginx would hand its workers to "nobody", who cannot write the recordings.
            (geteuid() == 0 ? "user root;\n" : "") +
            "daemon off;\nworker_processes 1;\npid " + dir + "/nginx.pid;\nerror_log " + dir + "/error.log info;\n"
            "events {\n  worker_connections 256;\n}\n"
            "http {\n  access_log " + dir + "/http-access.log;\n"
            "  client_body_temp_path " + dir + "/tmp/client_body;\n  proxy_temp_path " + dir + "/tmp/proxy;\n"
            "  fastcgi_temp_path " + dir + "/tmp/fastcgi;\n  uwsgi_temp_path " + dir + "/tmp/uwsgi;\n"
            "  scgi_temp_path " + dir + "/tmp/scgi;\n"
            "  server {\n    listen 127.0.0.1:" + std::to_string(httpPort_) + ";\n"
            "    location = /auth {\n      if ($arg_name = \"goodkey\") {\n        return 200;\n      }\n"
            "      return 403;\n    }\n  }\n}\n"
            "stream {\n  server {\n    listen 127.0.0.1:" + std::to_string(rtmpsPort_) + " ssl;\n"
            "    ssl_protocols TLSv1.2 TLSv1.3;\n    ssl_certificate " + certificate().string() + ";\n"
            "    ssl_certificate_key " + dir + "/key.pem;\n    proxy_pass 127.0.0.1:" + std::to_string(rtmpPort_) +
            ";\n  }\n}\n"
            "rtmp {\n  access_log " + dir + "/rtmp-access.log;\n  server {\n    listen 127.0.0.1:" +
            std::to_string(rtmpPort_) + ";\n    chunk_size 4096;\n" + applications + "  }\n}\n");
}

}  // namespace tavorin::testing
