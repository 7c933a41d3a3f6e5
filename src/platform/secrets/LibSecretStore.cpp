#include "platform/secrets/LibSecretStore.h"

#include <libsecret/secret.h>

#include <utility>

namespace tavorin {

namespace {

const SecretSchema& schema() {
  static const SecretSchema value = [] {
    SecretSchema s{};
    s.name = "org.tavorin.Tavorin.Secret";
    s.flags = SECRET_SCHEMA_NONE;
    s.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    s.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return s;
  }();
  return value;
}

// Takes ownership of a GError and yields its message.
std::string consume(GError* error) {
  std::string message = error && error->message ? error->message : "unknown error";
  g_clear_error(&error);
  return message;
}

}  // namespace

LibSecretStore::LibSecretStore(std::function<void(const std::string&)> log) : log_(std::move(log)) {}

std::optional<std::string> LibSecretStore::password(const std::string& service, const std::string& account) {
  GError* error = nullptr;
  gchar* found = secret_password_lookup_sync(&schema(), nullptr, &error, "service", service.c_str(), "account",
                                             account.c_str(), nullptr);
  if (error) {
    report("Cannot read the secret for " + service + " / " + account + ": " + consume(error));
    return std::nullopt;
  }
  if (!found) return std::nullopt;
  std::string value(found);
  secret_password_free(found);
  return value;
}

bool LibSecretStore::setPassword(const std::string& service, const std::string& account, const std::string& value) {
  // The label is what a keyring browser lists; the service says which key it is.
  const std::string label = "Tavorin: " + service;
  GError* error = nullptr;
  const gboolean stored =
      secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT, label.c_str(), value.c_str(), nullptr, &error, "service", service.c_str(), "account", account.c_str(), nullptr);
  if (error || !stored) {
    report("Cannot store the secret for " + service + " / " + account + ": " + consume(error));
    return false;
  }
  return true;
}

void LibSecretStore::removePassword(const std::string& service, const std::string& account) {
  GError* error = nullptr;
  secret_password_clear_sync(&schema(), nullptr, &error, "service", service.c_str(), "account", account.c_str(),
                             nullptr);
  if (error) report("Cannot remove the secret for " + service + " / " + account + ": " + consume(error));
}

void LibSecretStore::report(const std::string& line) const {
  if (log_) log_(line);
}

}  // namespace tavorin
