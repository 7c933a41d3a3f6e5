#include "streaming/rtmp/RTMPAuthenticator.h"

#include <openssl/evp.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>

#include "streaming/rtmp/ParsedURL.h"

namespace tavorin {
namespace {

// key=value pairs split at "&"; the last of equal keys wins.
std::map<std::string, std::string> parseQuery(std::string_view query) {
  std::map<std::string, std::string> items;
  while (!query.empty()) {
    const auto ampersand = query.find('&');
    const std::string_view item = query.substr(0, ampersand);
    const auto equals = item.find('=');
    if (!item.empty()) {
      const std::string key = percentDecoded(item.substr(0, equals));
      items[key] = equals == std::string_view::npos ? std::string() : percentDecoded(item.substr(equals + 1));
    }
    if (ampersand == std::string_view::npos) break;
    query.remove_prefix(ampersand + 1);
  }
  return items;
}

std::string valueOr(const std::map<std::string, std::string>& items, const std::string& key) {
  const auto it = items.find(key);
  return it == items.end() ? std::string() : it->second;
}

}  // namespace

RTMPAuthenticator::RTMPAuthenticator()
    : RTMPAuthenticator([device = std::make_shared<std::random_device>()] { return (*device)(); }) {}

RTMPAuthenticator::RTMPAuthenticator(ChallengeSource challengeSource)
    : challengeSource_(std::move(challengeSource)) {}

std::optional<std::string> RTMPAuthenticator::makeCommand(std::string_view uri,
                                                          std::string_view statusDescription) const {
  if (statusDescription.find("reason=needauth") != std::string_view::npos) return response(uri, statusDescription);
  if (statusDescription.find("authmod=adobe") == std::string_view::npos) return std::nullopt;

  const auto url = ParsedURL::parse(uri);
  if (!url || !url->user || !url->password) return std::nullopt;
  const std::string text = url->toString();
  return text + (url->query && !url->query->empty() ? "&" : "?") + "authmod=adobe&user=" + *url->user;
}

std::optional<std::string> RTMPAuthenticator::response(std::string_view uri,
                                                       std::string_view statusDescription) const {
  const auto url = ParsedURL::parse(uri);
  if (!url) return std::nullopt;
  std::string text = url->toString();
  const auto question = statusDescription.find('?');
  if (question == std::string_view::npos) return text;
  const auto query = parseQuery(statusDescription.substr(question + 1));

  char clientChallenge[9];
  std::snprintf(clientChallenge, sizeof clientChallenge, "%08x", static_cast<unsigned>(challengeSource_()));

  const std::string user = url->user ? percentDecoded(*url->user) : std::string();
  const std::string password = url->password ? percentDecoded(*url->password) : std::string();
  std::string hash = md5Base64(user + valueOr(query, "salt") + password);
  if (const auto opaque = query.find("opaque"); opaque != query.end()) {
    text += "&opaque=" + opaque->second;
    hash += opaque->second;
  } else if (const auto challenge = query.find("challenge"); challenge != query.end()) {
    hash += challenge->second;
  }
  hash += clientChallenge;
  text += std::string("&challenge=") + clientChallenge + "&response=" + md5Base64(hash);
  return text;
}

std::string md5Base64(std::string_view text) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int digestLength = 0;
  if (EVP_Digest(text.data(), text.size(), digest, &digestLength, EVP_md5(), nullptr) != 1) {
    throw std::runtime_error("OpenSSL could not compute an MD5 digest");
  }
  // Four output characters for every three bytes, and the terminating zero.
  unsigned char encoded[4 * ((EVP_MAX_MD_SIZE + 2) / 3) + 1];
  const int length = EVP_EncodeBlock(encoded, digest, static_cast<int>(digestLength));
  return std::string(reinterpret_cast<const char*>(encoded), static_cast<std::size_t>(length));
}

}  // namespace tavorin
