#include "peers/PrivatePipeWire.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tavorin::testing {
namespace {

[[noreturn]] void fail(const std::string& why) { throw std::runtime_error("pipewire peer: " + why); }

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

bool acceptsConnections(const std::filesystem::path& socketPath) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  const bool accepted = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return accepted;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::uint32_t little32(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

std::uint16_t little16(const std::string& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                    (static_cast<unsigned char>(bytes[at + 1]) << 8));
}

// The samples of a 32-bit float WAV file, interleaved; throws on any other kind of file.
std::vector<float> readFloatWav(const std::filesystem::path& path, int& channels, int& sampleRate) {
  const std::string bytes = readFile(path);
  if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) {
    throw std::runtime_error(path.string() + " is not a WAV file");
  }
  std::uint16_t format = 0;
  std::uint16_t bits = 0;
  std::size_t at = 12;
  while (at + 8 <= bytes.size()) {
    const std::string id = bytes.substr(at, 4);
    std::size_t size = little32(bytes, at + 4);
    const std::size_t body = at + 8;
    if (id == "fmt " && body + 16 <= bytes.size()) {
      format = little16(bytes, body);
      channels = little16(bytes, body + 2);
      sampleRate = static_cast<int>(little32(bytes, body + 4));
      bits = little16(bytes, body + 14);
      // WAVE_FORMAT_EXTENSIBLE: the real format is the sub-format's first two bytes.
      if (format == 0xFFFE && body + 26 <= bytes.size()) format = little16(bytes, body + 24);
    } else if (id == "data") {
      if (format != 3 || bits != 32) throw std::runtime_error(path.string() + " does not hold 32-bit float samples");
      // A recorder that was cut off may leave the size unset.
      if (size == 0 || size == 0xFFFFFFFF || body + size > bytes.size()) size = bytes.size() - body;
      std::vector<float> samples(size / sizeof(float));
      std::memcpy(samples.data(), bytes.data() + body, samples.size() * sizeof(float));
      return samples;
    }
    at = body + size + (size & 1);
  }
  throw std::runtime_error(path.string() + " has no data chunk");
}

}  // namespace

// A start that throws leaves nothing behind: the daemons go with their
// ChildProcess and the environment with `environment_`.
PrivatePipeWire::PrivatePipeWire() {
  const std::string dbus = findProgram("dbus-daemon", "dbus-daemon");
  pwCli_ = findProgram("pw-cli", "pipewire-bin");
  pwLink_ = findProgram("pw-link", "pipewire-bin");

  const auto runtime = dir_ / "runtime";
  for (const char* name : {"runtime", "config", "state", "data"}) std::filesystem::create_directories(dir_ / name);
  ::chmod(runtime.c_str(), 0700);
  const std::string bus = "unix:path=" + (runtime / "bus").string();
  environment_.set("XDG_RUNTIME_DIR", runtime.string());
  environment_.set("PIPEWIRE_RUNTIME_DIR", runtime.string());
  environment_.set("XDG_CONFIG_HOME", (dir_ / "config").string());
  environment_.set("XDG_STATE_HOME", (dir_ / "state").string());
  environment_.set("XDG_DATA_HOME", (dir_ / "data").string());
  environment_.set("DBUS_SESSION_BUS_ADDRESS", bus);
  environment_.set("PIPEWIRE_REMOTE", std::nullopt);

  startDaemon(dbus, {"--session", "--address=" + bus, "--nofork"});
  for (int i = 0; i < 250 && !acceptsConnections(runtime / "bus"); ++i) {
    if (!daemons_.back().second->running()) fail("dbus-daemon did not start:" + logTail(dir_ / "dbus-daemon.log"));
    pause(20);
  }
  startSession();
}

void PrivatePipeWire::startSession() {
  const auto runtime = dir_ / "runtime";
  // Clients that find no socket yet give up, so they start once pipewire answers.
  auto& server = startDaemon(findProgram("pipewire", "pipewire-bin"), {});
  for (int i = 0; i < 200 && !acceptsConnections(runtime / "pipewire-0"); ++i) {
    if (!server.running()) fail("pipewire exited during start-up:" + logTail(dir_ / "pipewire.log"));
    pause(20);
  }
  startDaemon(findProgram("wireplumber", "wireplumber"), {});
  startDaemon(findProgram("pipewire-pulse", "pipewire-pulse"), {});
  for (int i = 0; i < 200; ++i) {
    const auto clients = outputOf({pwCli_, "ls", "Client"}, dir_ / "pw-cli.log");
    if (clients && clients->find("\"WirePlumber\"") != std::string::npos) return;
    for (auto& [name, daemon] : daemons_) {
      if (!daemon->running()) fail(name + " exited during start-up:" + logTail(dir_ / (name + ".log")));
    }
    pause(50);
  }
  fail("WirePlumber did not connect to pipewire within 10 s:" + logTail(dir_ / "wireplumber.log"));
}

void PrivatePipeWire::restart() {
  // The session bus stays; everything after it goes, newest first.
  while (daemons_.size() > 1) {
    daemons_.back().second->stop();
    daemons_.pop_back();
  }
  startSession();
}

std::string PrivatePipeWire::toolOutput(const std::string& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> argv{findProgram(tool, "pipewire-bin")};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  const auto output = outputOf(argv, dir_ / (tool + ".log"));
  if (!output) fail(tool + " failed:" + logTail(dir_ / (tool + ".log")));
  return *output;
}

PrivatePipeWire::~PrivatePipeWire() {
  for (auto it = daemons_.rbegin(); it != daemons_.rend(); ++it) it->second->stop();
}

ChildProcess& PrivatePipeWire::startDaemon(const std::string& program, std::vector<std::string> arguments) {
  const std::string name = std::filesystem::path(program).filename().string();
  arguments.insert(arguments.begin(), program);
  SpawnOptions quiet;
  quiet.stdoutFile = "/dev/null";
  daemons_.emplace_back(name, std::make_unique<ChildProcess>(arguments, dir_ / (name + ".log"), quiet));
  return *daemons_.back().second;
}

std::string PrivatePipeWire::pwCli(const std::vector<std::string>& arguments, const std::string& what) {
  std::vector<std::string> argv{pwCli_};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  const auto output = outputOf(argv, dir_ / "pw-cli.log");
  if (!output) fail("pw-cli could not " + what + ":" + logTail(dir_ / "pw-cli.log"));
  return *output;
}

// The registry id of the node named `name`, from the listing's "id N," lines.
std::optional<std::string> PrivatePipeWire::nodeId(const std::string& name) {
  static const std::regex idLine(R"(^\s*id (\d+),)");
  const std::string wanted = "node.name = \"" + name + "\"";
  std::string id;
  for (const auto& line : linesOf(outputOf({pwCli_, "ls", "Node"}, dir_ / "pw-cli.log").value_or(""))) {
    std::smatch match;
    if (std::regex_search(line, match, idLine)) id = match[1];
    if (line.find(wanted) != std::string::npos) return id;
  }
  return std::nullopt;
}

bool PrivatePipeWire::waitForNode(const std::string& name, bool present) {
  for (int i = 0; i < 100; ++i) {
    if (nodeId(name).has_value() == present) return true;
    pause(50);
  }
  return false;
}

void PrivatePipeWire::addNode(const std::string& mediaClass, const std::string& name, const std::string& description,
                              const std::string& extraProperties) {
  if (!std::regex_match(name, std::regex("[A-Za-z0-9._-]+"))) {
    fail("node name '" + name + "' must be letters, digits, '.', '_' or '-'");
  }
  if (description.find('"') != std::string::npos) fail("a description cannot hold a double quote");
  std::string properties = "{ factory.name=support.null-audio-sink node.name=" + name + " media.class=" + mediaClass +
                           " object.linger=true audio.position=[FL FR]";
  if (!description.empty()) properties += " node.description=\"" + description + "\"";
  if (!extraProperties.empty()) properties += " " + extraProperties;
  pwCli({"create-node", "adapter", properties + " }"}, "create " + name);
  if (!waitForNode(name, true)) fail("node " + name + " did not appear");
}

void PrivatePipeWire::addSink(const std::string& name, const std::string& description,
                              const std::string& extraProperties) {
  addNode("Audio/Sink", name, description, extraProperties);
}

void PrivatePipeWire::addSource(const std::string& name, const std::string& description) {
  addNode("Audio/Source/Virtual", name, description);
}

void PrivatePipeWire::remove(const std::string& name) {
  const auto id = nodeId(name);
  if (!id) fail("no node named " + name);
  pwCli({"destroy", *id}, "destroy node " + *id + " (" + name + ")");
  if (!waitForNode(name, false)) fail("node " + name + " is still listed");
}

// Virtual sources are not linked by the session manager, so players are linked by hand.
void PrivatePipeWire::link(const std::string& from, const std::string& to) {
  auto ports = [&](const char* direction, const std::string& node) {
    std::vector<std::string> found;
    for (auto& line : linesOf(outputOf({pwLink_, direction}, dir_ / "pw-link.log").value_or(""))) {
      if (line.rfind(node + ":", 0) == 0) found.push_back(line);
    }
    return found;
  };
  auto channel = [](const std::vector<std::string>& list, const std::string& name) -> const std::string* {
    for (const auto& port : list) {
      if (endsWith(port, "_" + name)) return &port;
    }
    return nullptr;
  };
  for (int i = 0; i < 100; ++i) {
    const auto outputs = ports("-o", from);
    const auto inputs = ports("-i", to);
    if (channel(outputs, "FR") && channel(inputs, "FR")) {
      for (const char* name : {"FL", "FR"}) {
        const std::string* output = channel(outputs, name);
        const std::string* input = channel(inputs, name);
        if (!output || !input ||
            runProcess({pwLink_, *output, *input}, dir_ / "pw-link.log") != 0) {
          fail("pw-link " + (output ? *output : from) + " " + (input ? *input : to) + " failed:" +
               logTail(dir_ / "pw-link.log"));
        }
      }
      return;
    }
    pause(50);
  }
  fail("no FL/FR ports to link from " + from + " to " + to);
}

std::filesystem::path PrivatePipeWire::writeTone(int player, double frequency, double seconds, double amplitude) {
  const auto wav = dir_ / ("tone-" + std::to_string(player) + ".wav");
  const auto code = runProcess({findProgram("sox", "sox"), "-n", "-r", "48000", "-c", "2", "-b", "32", "-e",
                                "floating-point", wav.string(), "synth", std::to_string(seconds), "sine",
                                std::to_string(frequency), "vol", std::to_string(amplitude)},
                               dir_ / "sox-errors", 20);
  if (code != 0) throw std::runtime_error("sox could not write a tone: " + trimmed(readFile(dir_ / "sox-errors")));
  return wav;
}

std::unique_ptr<TonePlayer> PrivatePipeWire::playTone(const std::string& nodeName, double frequency, double seconds,
                                                      double amplitude) {
  const int index = ++players_;
  const auto wav = writeTone(index, frequency, seconds, amplitude);
  // Linked by hand, the same way for sinks and virtual sources.
  const std::string playerName = "tavorin-test-tone-" + std::to_string(index);
  auto player = std::make_unique<ChildProcess>(
      std::vector<std::string>{findProgram("pw-play", "pipewire-bin"), "--target", nodeName, "-P",
                               "{ node.name=" + playerName + " node.autoconnect=false }", wav.string()},
      dir_ / (playerName + ".log"));
  link(playerName, nodeName);
  return std::make_unique<TonePlayer>(std::move(player), playerName);
}

std::unique_ptr<TonePlayer> PrivatePipeWire::playAsApplication(const std::string& properties, double frequency,
                                                               double seconds, double amplitude) {
  const int index = ++players_;
  const auto wav = writeTone(index, frequency, seconds, amplitude);
  const std::string playerName = "tavorin-test-app-" + std::to_string(index);
  const std::string log = playerName + ".log";
  auto player = std::make_unique<ChildProcess>(
      std::vector<std::string>{findProgram("pw-play", "pipewire-bin"), "-P",
                               "{ node.name=" + playerName + " " + properties + " }", wav.string()},
      dir_ / log);
  for (int i = 0; i < 100 && !nodeId(playerName); ++i) {
    if (!player->running()) fail("pw-play exited:" + logTail(dir_ / log));
    pause(50);
  }
  if (!nodeId(playerName)) fail("the stream of " + playerName + " did not appear:" + logTail(dir_ / log));
  return std::make_unique<TonePlayer>(std::move(player), playerName);
}

std::vector<float> PrivatePipeWire::recordFrom(const std::string& nodeName, double seconds, bool captureSink) {
  const auto wav = dir_ / ("recording-" + std::to_string(++recordings_) + ".wav");
  std::vector<std::string> argv{findProgram("pw-record", "pipewire-bin"), "--target", nodeName, "--rate", "48000",
                                "--channels", "2", "--format", "f32"};
  if (captureSink) argv.insert(argv.end(), {"-P", "{ stream.capture.sink=true }"});
  argv.push_back(wav.string());
  {
    ChildProcess recorder(argv, dir_ / "pw-record.log");
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    // SIGINT lets pw-record finish the WAV header.
    recorder.signal(SIGINT);
    recorder.wait(5);
  }
  int channels = 0;
  int rate = 0;
  auto samples = readFloatWav(wav, channels, rate);
  if (channels != 2 || rate != 48000) {
    throw std::runtime_error("pw-record wrote " + std::to_string(channels) + " channels at " + std::to_string(rate) +
                             " Hz instead of stereo 48 kHz");
  }
  return samples;
}

std::unique_ptr<CameraNode> PrivatePipeWire::startCamera(const std::string& name, const std::string& source,
                                                         const std::string& caps) {
  const std::string log = "camera-" + std::to_string(++cameras_) + ".log";
  std::vector<std::string> argv{findProgram("gst-launch-1.0", "gstreamer1.0-tools"), "-q"};
  std::istringstream words(source);
  for (std::string word; words >> word;) argv.push_back(word);
  argv.insert(argv.end(), {"!", caps, "!", "pipewiresink", "mode=provide",
                           "stream-properties=props,media.class=Video/Source,media.role=Camera,node.name=" + name +
                               ",node.description=" + name});
  SpawnOptions quiet;
  quiet.stdoutFile = "/dev/null";
  auto provider = std::make_unique<ChildProcess>(argv, dir_ / log, quiet);
  for (int i = 0; i < 100 && !nodeId(name); ++i) {
    if (!provider->running()) fail("gst-launch exited:" + logTail(dir_ / log));
    pause(50);
  }
  if (!nodeId(name)) fail("camera node " + name + " did not appear:" + logTail(dir_ / log));
  return std::make_unique<CameraNode>(std::move(provider));
}

}  // namespace tavorin::testing
