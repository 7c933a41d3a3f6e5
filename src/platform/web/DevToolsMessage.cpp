#include "platform/web/DevToolsMessage.h"

namespace tavorin {

namespace {

// Moves the first "data":"…" string (base64: no escapes, no quotes) out of
// the text, leaving an empty string in its place.
std::string cutDataString(std::string& text) {
  static constexpr std::string_view kKey = "\"data\":\"";
  std::size_t at = text.find(kKey);
  if (at == std::string::npos) return {};
  std::size_t begin = at + kKey.size();
  std::size_t end = text.find('"', begin);
  if (end == std::string::npos) return {};
  std::string data = text.substr(begin, end - begin);
  text.erase(begin, end - begin);
  return data;
}

}  // namespace

std::optional<DevToolsMessage> parseDevToolsMessage(std::string text) {
  DevToolsMessage message;
  // Only frames and screenshots carry pictures; their method or result names them.
  if (text.find("\"Page.screencastFrame\"") != std::string::npos) message.data = cutDataString(text);
  auto json = nlohmann::json::parse(text, nullptr, false);
  if (json.is_discarded() || !json.is_object()) return std::nullopt;
  if (auto id = json.find("id"); id != json.end() && id->is_number_integer()) message.id = id->get<std::int64_t>();
  if (auto method = json.find("method"); method != json.end() && method->is_string()) message.method = *method;
  if (!message.id && message.method.empty()) return std::nullopt;
  if (auto session = json.find("sessionId"); session != json.end() && session->is_string()) {
    message.sessionId = *session;
  }
  if (auto error = json.find("error"); error != json.end()) {
    auto text = error->is_object() ? error->find("message") : error->end();
    message.error = text != error->end() && text->is_string() ? text->get<std::string>() : "the browser refused it";
  }
  const char* bodyKey = message.id ? "result" : "params";
  if (auto body = json.find(bodyKey); body != json.end() && body->is_object()) message.body = std::move(*body);
  else message.body = nlohmann::json::object();
  return message;
}

std::string encodeDevToolsCommand(std::int64_t id, std::string_view method, const nlohmann::json& params,
                                  std::string_view sessionId) {
  nlohmann::json command{{"id", id}, {"method", method}, {"params", params.is_null() ? nlohmann::json::object() : params}};
  if (!sessionId.empty()) command["sessionId"] = sessionId;
  return command.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace tavorin
