#include "sources/rtsp/RTSPAuth.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cctype>
#include <map>

namespace tavorin {

std::string md5Hex(std::string_view text) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_Digest(text.data(), text.size(), digest, &length, EVP_md5(), nullptr) != 1) return {};
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  for (unsigned i = 0; i < length; ++i) {
    out += kHex[digest[i] >> 4];
    out += kHex[digest[i] & 15];
  }
  return out;
}

std::string base64Encoded(std::string_view bytes) {
  std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  out.resize(static_cast<std::size_t>(std::max(n, 0)));
  return out;
}

std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text) {
  if (text.empty() || text.size() % 4 != 0) return std::nullopt;
  std::vector<std::uint8_t> out(text.size() / 4 * 3);
  const int n = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  if (n < 0) return std::nullopt;
  // The block decoder counts the padding as zero bytes.
  std::size_t size = static_cast<std::size_t>(n);
  for (std::size_t i = text.size(); i > 0 && text[i - 1] == '=' && size > 0; --i) --size;
  out.resize(size);
  return out;
}

namespace {

std::string_view trimmedOf(std::string_view text, std::string_view chars) {
  const auto first = text.find_first_not_of(chars);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(chars) - first + 1);
}

}  // namespace

RTSPAuthorization makeRTSPAuthorization(std::string_view challenge, const std::string& username,
                                        const std::string& password) {
  std::string lower(challenge);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  if (!lower.starts_with("digest")) {
    const std::string value = "Basic " + base64Encoded(username + ":" + password);
    return [value](const std::string&, const std::string&) { return value; };
  }
  std::map<std::string, std::string> fields;
  std::string_view rest = challenge.substr(6);
  while (!rest.empty()) {
    const auto comma = rest.find(',');
    const std::string_view piece = rest.substr(0, comma);
    rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    const auto equals = piece.find('=');
    if (equals == std::string_view::npos) continue;
    std::string name(trimmedOf(piece.substr(0, equals), " \""));
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    fields[name] = std::string(trimmedOf(piece.substr(equals + 1), " \""));
  }
  const std::string realm = fields["realm"], nonce = fields["nonce"];
  const std::string ha1 = md5Hex(username + ":" + realm + ":" + password);
  return [=](const std::string& method, const std::string& uri) {
    const std::string response = md5Hex(ha1 + ":" + nonce + ":" + md5Hex(method + ":" + uri));
    return "Digest username=\"" + username + "\", realm=\"" + realm + "\", nonce=\"" + nonce + "\", uri=\"" + uri +
           "\", response=\"" + response + "\"";
  };
}

}  // namespace tavorin
