#include "platform/pipewire/PipeWireLinks.h"

#include <pipewire/pipewire.h>

#include <algorithm>

namespace tavorin {

std::vector<PortLink> pairChannels(const std::vector<AudioPortInfo>& outputs,
                                   const std::vector<AudioPortInfo>& inputs) {
  std::vector<PortLink> links;
  auto link = [&](const AudioPortInfo& output, const AudioPortInfo& input) {
    links.push_back({output.nodeID, output.id, input.nodeID, input.id});
  };
  for (std::size_t i = 0; i < outputs.size() && !inputs.empty(); ++i) {
    const AudioPortInfo& output = outputs[i];
    if (inputs.size() == 1) {
      link(output, inputs.front());
    } else if (outputs.size() == 1 || output.channel == "MONO") {
      for (const AudioPortInfo& input : inputs) link(output, input);
    } else {
      auto same = std::find_if(inputs.begin(), inputs.end(), [&](const AudioPortInfo& input) {
        return !input.channel.empty() && input.channel == output.channel;
      });
      link(output, same != inputs.end() ? *same : inputs[i % inputs.size()]);
    }
  }
  return links;
}

struct PipeWireLinks::Link {
  PipeWireLinks* owner = nullptr;
  pw_proxy* proxy = nullptr;
  spa_hook listener{};
  bool gone = false;     // the daemon removed it: a port went, or someone unlinked it
  bool refused = false;  // the daemon would not make it: not tried again while it is wanted

  ~Link() {
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  static void removed(void* data) {
    auto* self = static_cast<Link*>(data);
    self->gone = true;
    self->owner->evaluateSoon();
  }
  static void error(void* data, int /*seq*/, int /*res*/, const char* /*message*/) {
    static_cast<Link*>(data)->refused = true;
  }
};

PipeWireLinks::PipeWireLinks(PipeWireLoop& loop, PipeWireRegistry& registry, Rule rule)
    : loop_(loop), registry_(registry), rule_(std::move(rule)) {
  loop_.locked([&] { wake_ = pw_loop_add_event(pw_thread_loop_get_loop(loop_.threadLoop()), &onWake, this); });
  if (!wake_) throw PipeWireFailure("PipeWire cannot watch the graph for links");
  token_ = registry_.subscribe([this] { evaluateSoon(); });
  evaluateSoon();
}

PipeWireLinks::~PipeWireLinks() {
  registry_.unsubscribe(token_);
  loop_.locked([&] {
    links_.clear();
    pw_loop_destroy_source(pw_thread_loop_get_loop(loop_.threadLoop()), wake_);
  });
}

void PipeWireLinks::onWake(void* data, std::uint64_t /*count*/) { static_cast<PipeWireLinks*>(data)->evaluate(); }

void PipeWireLinks::evaluateSoon() { pw_loop_signal_event(pw_thread_loop_get_loop(loop_.threadLoop()), wake_); }

void PipeWireLinks::evaluate() {
  std::vector<PortLink> wanted = rule_(registry_.graph());
  std::sort(wanted.begin(), wanted.end());
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
  std::erase_if(links_,
                [&](const auto& entry) { return !std::binary_search(wanted.begin(), wanted.end(), entry.first); });
  for (const PortLink& ends : wanted) {
    auto found = links_.find(ends);
    if (found != links_.end() && (!found->second->gone || found->second->refused)) continue;
    auto link = makeLink(ends);
    if (link) {
      links_[ends] = std::move(link);
    } else if (found != links_.end()) {
      links_.erase(found);
    }
  }
}

std::unique_ptr<PipeWireLinks::Link> PipeWireLinks::makeLink(const PortLink& ends) {
  static const pw_proxy_events events = [] {
    pw_proxy_events e{};
    e.version = PW_VERSION_PROXY_EVENTS;
    e.removed = &Link::removed;
    e.error = &Link::error;
    return e;
  }();
  pw_properties* props = pw_properties_new(nullptr, nullptr);
  pw_properties_setf(props, PW_KEY_LINK_OUTPUT_NODE, "%u", ends.outputNode);
  pw_properties_setf(props, PW_KEY_LINK_OUTPUT_PORT, "%u", ends.outputPort);
  pw_properties_setf(props, PW_KEY_LINK_INPUT_NODE, "%u", ends.inputNode);
  pw_properties_setf(props, PW_KEY_LINK_INPUT_PORT, "%u", ends.inputPort);
  auto* proxy = static_cast<pw_proxy*>(
      pw_core_create_object(loop_.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &props->dict, 0));
  pw_properties_free(props);
  if (!proxy) return nullptr;
  auto link = std::make_unique<Link>();
  link->owner = this;
  link->proxy = proxy;
  pw_proxy_add_listener(proxy, &link->listener, &events, link.get());
  return link;
}

}  // namespace tavorin
