#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/pipewire/AudioGraph.h"
#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWireRegistry.h"

struct spa_source;

namespace tavorin {

// One link from an output port to an input port.
struct PortLink {
  std::uint32_t outputNode = 0;
  std::uint32_t outputPort = 0;
  std::uint32_t inputNode = 0;
  std::uint32_t inputPort = 0;
  friend auto operator<=>(const PortLink&, const PortLink&) = default;
};

// Which output port feeds which input port: the same channel into the same
// channel, a lone or mono output into every input, every output into a lone
// input; a channel the inputs lack goes by its place, wrapping around them.
std::vector<PortLink> pairChannels(const std::vector<AudioPortInfo>& outputs, const std::vector<AudioPortInfo>& inputs);

// Keeps the links a rule asks for: whenever the graph changes the rule is
// asked again, missing links are made and unwanted ones destroyed. The links
// are this client's, so they also go when we disconnect.
class PipeWireLinks {
 public:
  // Loop thread: the links that should stand in `graph`.
  using Rule = std::function<std::vector<PortLink>(const AudioGraph& graph)>;

  // Throws PipeWireFailure when the loop cannot watch for changes.
  PipeWireLinks(PipeWireLoop& loop, PipeWireRegistry& registry, Rule rule);
  // Destroys every link it made.
  ~PipeWireLinks();
  PipeWireLinks(const PipeWireLinks&) = delete;
  PipeWireLinks& operator=(const PipeWireLinks&) = delete;

 private:
  struct Link;
  static void onWake(void* data, std::uint64_t count);
  void evaluateSoon();
  void evaluate();
  std::unique_ptr<Link> makeLink(const PortLink& ends);

  PipeWireLoop& loop_;
  PipeWireRegistry& registry_;
  const Rule rule_;
  int token_ = 0;
  // Loop thread only (or under the loop lock). A burst of changes wakes one evaluation.
  spa_source* wake_ = nullptr;
  std::map<PortLink, std::unique_ptr<Link>> links_;
};

}  // namespace tavorin
