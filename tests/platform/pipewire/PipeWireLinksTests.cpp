#include "platform/pipewire/PipeWireLinks.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tavorin {
namespace {

// Ports of node 1 (outputs) and node 2 (inputs), numbered from 10 and 20 in channel order.
std::vector<AudioPortInfo> ports(std::uint32_t node, bool output, std::vector<std::string> channels) {
  std::vector<AudioPortInfo> list;
  for (std::uint32_t i = 0; i < channels.size(); ++i) {
    list.push_back({.id = node * 10 + i, .nodeID = node, .index = i, .output = output, .channel = channels[i]});
  }
  return list;
}

// "FL>FL FR>FR": each link as output channel > input channel.
std::string described(const std::vector<PortLink>& links, const std::vector<AudioPortInfo>& outputs,
                      const std::vector<AudioPortInfo>& inputs) {
  auto channel = [](const std::vector<AudioPortInfo>& list, std::uint32_t id) {
    for (const auto& port : list) {
      if (port.id == id) return port.channel;
    }
    return std::string("?");
  };
  std::ostringstream out;
  for (const PortLink& link : links) {
    if (out.tellp() > 0) out << ' ';
    out << channel(outputs, link.outputPort) << '>' << channel(inputs, link.inputPort);
  }
  return out.str();
}

TEST(PairChannels, MatchesChannelsAndFallsBackSensibly) {
  struct Case {
    std::vector<std::string> outputs;
    std::vector<std::string> inputs;
    std::string expected;
  };
  const Case cases[] = {
      {{"FL", "FR"}, {"FL", "FR"}, "FL>FL FR>FR"},
      {{"FR", "FL"}, {"FL", "FR"}, "FR>FR FL>FL"},
      {{"MONO"}, {"FL", "FR"}, "MONO>FL MONO>FR"},
      {{"FL", "FR"}, {"MONO"}, "FL>MONO FR>MONO"},
      {{"FL", "FR", "RL", "RR"}, {"FL", "FR"}, "FL>FL FR>FR RL>FL RR>FR"},
      {{"AUX0", "AUX1"}, {"FL", "FR"}, "AUX0>FL AUX1>FR"},
      {{"FL", "FR"}, {}, ""},
      {{}, {"FL", "FR"}, ""},
  };
  for (const Case& c : cases) {
    const auto outputs = ports(1, true, c.outputs);
    const auto inputs = ports(2, false, c.inputs);
    const auto links = pairChannels(outputs, inputs);
    EXPECT_EQ(described(links, outputs, inputs), c.expected);
    for (const PortLink& link : links) {
      EXPECT_EQ(link.outputNode, 1u);
      EXPECT_EQ(link.inputNode, 2u);
    }
  }
}

}  // namespace
}  // namespace tavorin
