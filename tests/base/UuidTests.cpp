#include "base/Uuid.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <unordered_set>

namespace tavorin {
namespace {

TEST(Uuid, FormatsUpperCaseWithHyphensInByteOrder) {
  Uuid id;
  for (std::size_t i = 0; i < id.bytes.size(); ++i) id.bytes[i] = static_cast<std::uint8_t>(i * 0x11);
  EXPECT_EQ(id.toString(), "00112233-4455-6677-8899-AABBCCDDEEFF");
  EXPECT_EQ(Uuid{}.toString(), "00000000-0000-0000-0000-000000000000");
}

TEST(Uuid, ParsesEitherCaseToTheSameId) {
  const auto upper = Uuid::parse("00112233-4455-6677-8899-AABBCCDDEEFF");
  const auto lower = Uuid::parse("00112233-4455-6677-8899-aabbccddeeff");
  const auto mixed = Uuid::parse("00112233-4455-6677-8899-AaBbCcDdEeFf");
  ASSERT_TRUE(upper && lower && mixed);
  EXPECT_EQ(*upper, *lower);
  EXPECT_EQ(*upper, *mixed);
  EXPECT_EQ(upper->bytes[0], 0x00);
  EXPECT_EQ(upper->bytes[15], 0xFF);
  EXPECT_EQ(lower->toString(), "00112233-4455-6677-8899-AABBCCDDEEFF");
}

TEST(Uuid, RejectsAnythingButTheCanonicalForm) {
  using namespace std::string_literals;
  const std::string cases[] = {
      "",
      "00112233445566778899AABBCCDDEEFF",        // no hyphens
      "{00112233-4455-6677-8899-AABBCCDDEEFF}",  // braces
      "00112233-4455-6677-8899-AABBCCDDEEF",     // one digit short
      "00112233-4455-6677-8899-AABBCCDDEEFF0",   // one digit long
      "00112233-4455-6677-8899-AABBCCDDEEFG",    // not hex
      "0011223-34455-6677-8899-AABBCCDDEEFF",    // hyphen moved
      "00112233-4455-6677-8899-AABBCCDDEEF ",    // padded
      "00112233-4455-6677-8899-AABBCCDDEE\0F"s,  // embedded NUL, right length
  };
  for (const auto& text : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Uuid::parse(text), std::nullopt);
  }
}

}  // namespace
}  // namespace tavorin
