#include "platform/media/AvcConfiguration.h"

namespace tavorin::avc {

namespace {

constexpr std::uint8_t kNalSps = 7;
constexpr std::uint8_t kNalPps = 8;

void appendBigEndian(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
  for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

bool isHighProfile(std::uint8_t profile) {
  switch (profile) {
    case 100:
    case 110:
    case 122:
    case 244:
    case 44:
    case 83:
    case 86:
    case 118:
    case 128:
    case 138:
    case 139:
    case 134:
    case 135:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::vector<std::span<const std::uint8_t>> splitAnnexB(std::span<const std::uint8_t> stream) {
  std::vector<std::span<const std::uint8_t>> units;
  const std::size_t size = stream.size();
  // Finds the next 00 00 01 at or after `from`; `size` when there is none.
  auto nextStart = [&](std::size_t from) {
    for (std::size_t i = from; i + 2 < size; ++i) {
      if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1) return i;
    }
    return size;
  };
  std::size_t start = nextStart(0);
  while (start < size) {
    const std::size_t begin = start + 3;
    const std::size_t next = nextStart(begin);
    std::size_t end = next;
    // A 4-byte start code and trailing zeros belong to no NAL unit.
    while (end > begin && stream[end - 1] == 0) --end;
    if (end > begin) units.push_back(stream.subspan(begin, end - begin));
    start = next;
  }
  return units;
}

std::vector<std::uint8_t> annexBToLengthPrefixed(std::span<const std::uint8_t> stream) {
  std::vector<std::uint8_t> out;
  out.reserve(stream.size() + 16);
  for (auto unit : splitAnnexB(stream)) {
    appendBigEndian(out, static_cast<std::uint32_t>(unit.size()), 4);
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

std::optional<std::vector<std::uint8_t>> makeDecoderConfigurationRecord(std::span<const std::uint8_t> parameterSets) {
  std::span<const std::uint8_t> sps, pps;
  for (auto unit : splitAnnexB(parameterSets)) {
    const std::uint8_t type = unit[0] & 0x1F;
    if (type == kNalSps && sps.empty()) sps = unit;
    if (type == kNalPps && pps.empty()) pps = unit;
  }
  if (sps.size() < 4 || pps.empty() || sps.size() > 0xFFFF || pps.size() > 0xFFFF) return std::nullopt;
  std::vector<std::uint8_t> record;
  record.push_back(1);       // configurationVersion
  record.push_back(sps[1]);  // AVCProfileIndication
  record.push_back(sps[2]);  // profile_compatibility
  record.push_back(sps[3]);  // AVCLevelIndication
  record.push_back(0xFF);    // lengthSizeMinusOne = 3
  record.push_back(0xE1);    // one SPS
  appendBigEndian(record, static_cast<std::uint32_t>(sps.size()), 2);
  record.insert(record.end(), sps.begin(), sps.end());
  record.push_back(1);  // one PPS
  appendBigEndian(record, static_cast<std::uint32_t>(pps.size()), 2);
  record.insert(record.end(), pps.begin(), pps.end());
  if (isHighProfile(sps[1])) {
    // Our encoders are always fed 8-bit 4:2:0, so the extension is fixed.
    record.push_back(0xFC | 1);  // chroma_format_idc 1
    record.push_back(0xF8 | 0);  // bit_depth_luma_minus8
    record.push_back(0xF8 | 0);  // bit_depth_chroma_minus8
    record.push_back(0);         // no SPS extensions
  }
  return record;
}

}  // namespace tavorin::avc
