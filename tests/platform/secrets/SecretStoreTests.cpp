#include "platform/secrets/SecretStore.h"

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "peers/PrivateSessionBus.h"
#include "platform/secrets/FileSecretStore.h"
#include "platform/secrets/LibSecretStore.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::PrivateSessionBus;
using testing::ScopedEnvironment;
using testing::TempDir;

struct Picked {
  std::unique_ptr<SecretStore> store;
  std::vector<std::string> log;
  double seconds = 0;
};

Picked pick(const std::filesystem::path& fallback) {
  Picked picked;
  const auto start = std::chrono::steady_clock::now();
  picked.store = makeSecretStore(fallback, [&log = picked.log](const std::string& line) { log.push_back(line); });
  picked.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return picked;
}

TEST(MakeSecretStore, FallsBackToThePrivateFileWithoutABusAndSaysSoOnce) {
  TempDir dir;
  const auto fallback = dir / "secrets.json";
  {
    ScopedEnvironment environment;
    environment.set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (dir / "no-such-bus").string());
    auto picked = pick(fallback);
    ASSERT_NE(dynamic_cast<FileSecretStore*>(picked.store.get()), nullptr);
    EXPECT_LT(picked.seconds, 1.0);
    ASSERT_EQ(picked.log.size(), 1u);
    EXPECT_NE(picked.log[0].find(fallback.string()), std::string::npos) << picked.log[0];
    ASSERT_TRUE(picked.store->setPassword("svc", "a", "secret"));
    EXPECT_EQ(FileSecretStore(fallback, nullptr).password("svc", "a"), "secret");
  }
  // No address and no bus socket in the runtime folder: GLib's X11 autolaunch must not be tried.
  ScopedEnvironment environment;
  environment.set("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
  environment.set("XDG_RUNTIME_DIR", dir.path().string());
  environment.set("DISPLAY", std::nullopt);
  auto picked = pick(fallback);
  EXPECT_NE(dynamic_cast<FileSecretStore*>(picked.store.get()), nullptr);
  EXPECT_LT(picked.seconds, 1.0);
}

TEST(MakeSecretStore, FallsBackWhenTheBusHasNoSecretService) {
  PrivateSessionBus bus(false);
  TempDir dir;
  auto picked = pick(dir / "secrets.json");
  EXPECT_NE(dynamic_cast<FileSecretStore*>(picked.store.get()), nullptr);
  EXPECT_EQ(picked.log.size(), 1u);
  EXPECT_LT(picked.seconds, 2.0);
}

// One keyring for the whole suite: libsecret keeps its connection to the
// service for the life of the process, so the bus must not change under it.
class LibSecretStoreTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    try {
      bus_ = new PrivateSessionBus(true);
    } catch (const std::exception& e) {
      startError_ = e.what();
      return;
    }
    // GLib ends the process when the shared session connection closes, which
    // it does when the private bus stops at the end of the suite.
    GError* error = nullptr;
    sharedBus_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    g_clear_error(&error);
    if (sharedBus_) g_dbus_connection_set_exit_on_close(sharedBus_, FALSE);
  }

  static void TearDownTestSuite() {
    secret_service_disconnect();
    delete bus_;
    bus_ = nullptr;
    if (sharedBus_) g_object_unref(sharedBus_);
    sharedBus_ = nullptr;
  }

  void SetUp() override {
    if (!bus_) FAIL() << "no keyring for the test: " << startError_;
  }

  LibSecretStore store{[this](const std::string& line) { log.push_back(line); }};
  std::vector<std::string> log;

  static inline PrivateSessionBus* bus_ = nullptr;
  static inline GDBusConnection* sharedBus_ = nullptr;
  static inline std::string startError_;
};

TEST_F(LibSecretStoreTest, StoresReplacesFindsAndRemovesByServiceAndAccount) {
  EXPECT_EQ(store.password("org.tavorin.Test", "one"), std::nullopt);
  ASSERT_TRUE(store.setPassword("org.tavorin.Test", "one", "live_1234 ünï"));
  ASSERT_TRUE(store.setPassword("org.tavorin.Test", "two", "second"));
  ASSERT_TRUE(store.setPassword("org.tavorin.Other", "one", "other service"));
  ASSERT_TRUE(store.setPassword("org.tavorin.Test", "one", "replaced"));

  EXPECT_EQ(store.password("org.tavorin.Test", "one"), "replaced");
  EXPECT_EQ(store.password("org.tavorin.Test", "two"), "second");
  EXPECT_EQ(store.password("org.tavorin.Other", "one"), "other service");

  store.removePassword("org.tavorin.Test", "one");
  store.removePassword("org.tavorin.Test", "never stored");
  EXPECT_EQ(store.password("org.tavorin.Test", "one"), std::nullopt);
  EXPECT_EQ(store.password("org.tavorin.Test", "two"), "second");
  EXPECT_EQ(LibSecretStore(nullptr).password("org.tavorin.Other", "one"), "other service");
  EXPECT_TRUE(log.empty()) << log.front();
}

TEST_F(LibSecretStoreTest, MakeSecretStorePicksTheServiceWhenItAnswers) {
  TempDir dir;
  auto picked = pick(dir / "secrets.json");
  ASSERT_NE(dynamic_cast<LibSecretStore*>(picked.store.get()), nullptr);
  EXPECT_TRUE(picked.log.empty());
  ASSERT_TRUE(picked.store->setPassword("org.tavorin.Test", "picked", "value"));
  EXPECT_EQ(store.password("org.tavorin.Test", "picked"), "value");
  EXPECT_FALSE(std::filesystem::exists(dir / "secrets.json"));
}

}  // namespace
}  // namespace tavorin
