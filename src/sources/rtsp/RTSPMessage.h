#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavorin {

// One RTSP reply: the status, the headers under lower-case names, the body.
struct RTSPResponse {
  int status = 0;
  std::map<std::string, std::string> headers;
  std::string body;

  // The header's value; nothing when absent.
  std::optional<std::string> header(const std::string& lowerName) const;
};

// A request as it goes on the wire: the request line, CSeq, our agent, the
// session and the authorization when there are any, then `extra`, each line
// closed by CR LF and the whole by an empty line.
std::string formatRTSPRequest(const std::string& method, const std::string& uri, int cseq,
                              const std::optional<std::string>& session, const std::optional<std::string>& authorization,
                              const std::vector<std::string>& extra);

// Splits what a connection receives into replies and "$"-framed interleaved
// packets, which arrive mixed once the stream plays. Bytes are kept until a
// whole reply or frame is there; a header block that is not UTF-8 is skipped,
// and one with no end is given up once a "$" and 2048 bytes have come.
class RTSPStreamParser {
 public:
  std::function<void(RTSPResponse)> onResponse;
  // The channel and the payload; the span is valid during the call only.
  std::function<void(std::uint8_t channel, std::span<const std::uint8_t> payload)> onInterleaved;

  void feed(std::span<const std::uint8_t> bytes);
  void clear();
  std::size_t buffered() const { return buffer_.size() - start_; }

 private:
  // False when the front needs more bytes.
  bool parseOne();

  std::vector<std::uint8_t> buffer_;
  std::size_t start_ = 0;  // bytes before it are consumed
};

}  // namespace tavorin
