#include "sources/rtsp/RTSPMessage.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>

#include "base/Text.h"

namespace tavorin {

namespace {

constexpr std::size_t kGiveUpHeaderAfter = 2048;

std::string_view blanksTrimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

int decimal(std::string_view text, int fallback) {
  int value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() ? value : fallback;
}

}  // namespace

std::optional<std::string> RTSPResponse::header(const std::string& lowerName) const {
  auto it = headers.find(lowerName);
  if (it == headers.end()) return std::nullopt;
  return it->second;
}

std::string formatRTSPRequest(const std::string& method, const std::string& uri, int cseq,
                              const std::optional<std::string>& session, const std::optional<std::string>& authorization,
                              const std::vector<std::string>& extra) {
  std::string text = method + " " + uri + " RTSP/1.0\r\nCSeq: " + std::to_string(cseq) + "\r\nUser-Agent: Tavorin\r\n";
  if (session) text += "Session: " + *session + "\r\n";
  if (authorization) text += "Authorization: " + *authorization + "\r\n";
  for (const auto& line : extra) text += line + "\r\n";
  text += "\r\n";
  return text;
}

void RTSPStreamParser::clear() {
  buffer_.clear();
  start_ = 0;
}

void RTSPStreamParser::feed(std::span<const std::uint8_t> bytes) {
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  while (start_ < buffer_.size() && parseOne()) {
  }
  // Consumed bytes go once they are the larger part, so a long play copies little.
  if (start_ == buffer_.size()) {
    clear();
  } else if (start_ > buffer_.size() / 2) {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
    start_ = 0;
  }
}

bool RTSPStreamParser::parseOne() {
  const std::uint8_t* data = buffer_.data() + start_;
  const std::size_t size = buffer_.size() - start_;
  if (data[0] == '$') {
    if (size < 4) return false;
    const std::uint8_t channel = data[1];
    const std::size_t length = (std::size_t(data[2]) << 8) | data[3];
    if (size < length + 4) return false;
    start_ += length + 4;
    if (onInterleaved) onInterleaved(channel, std::span<const std::uint8_t>(data + 4, length));
    return true;
  }
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto separator = text.find("\r\n\r\n");
  if (separator == std::string_view::npos) {
    const auto dollar = text.find('$');
    if (dollar != std::string_view::npos && size > kGiveUpHeaderAfter) {
      start_ += dollar;
      return true;
    }
    return false;
  }
  const std::string_view block = text.substr(0, separator);
  if (!isValidUtf8(block)) {
    start_ += separator + 4;
    return true;
  }
  RTSPResponse response;
  std::string_view firstLine;
  std::size_t at = 0;
  bool first = true;
  while (at <= block.size()) {
    auto end = block.find("\r\n", at);
    if (end == std::string_view::npos) end = block.size();
    const std::string_view line = block.substr(at, end - at);
    at = end + 2;
    if (first) {
      firstLine = line;
      first = false;
      continue;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    std::string key(line.substr(0, colon));
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    response.headers[key] = std::string(blanksTrimmed(line.substr(colon + 1)));
  }
  const int contentLength = std::max(0, decimal(response.header("content-length").value_or(""), 0));
  const std::size_t total = separator + 4 + static_cast<std::size_t>(contentLength);
  if (size < total) return false;
  response.body.assign(text.substr(separator + 4, static_cast<std::size_t>(contentLength)));
  // The status is the second word of the status line.
  const auto space = firstLine.find(' ');
  if (space != std::string_view::npos) {
    std::string_view word = firstLine.substr(space + 1);
    word = word.substr(0, word.find(' '));
    response.status = decimal(word, 0);
  }
  start_ += total;
  if (onResponse) onResponse(std::move(response));
  return true;
}

}  // namespace tavorin
