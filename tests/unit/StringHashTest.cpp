#include "StringHash.h"

#include <gtest/gtest.h>

namespace {

// Published values of 32-bit FNV-1a; "ä" is hashed as its two UTF-8 bytes.
TEST(StringHash, IsFnv1aOfTheUtf8Form) {
  EXPECT_EQ(hashFromString(QString()), 0x811C9DC5U);
  EXPECT_EQ(hashFromString(QStringLiteral("a")), 0xE40C292CU);
  EXPECT_EQ(hashFromString(QStringLiteral("foobar")), 0xBF9CF968U);
  EXPECT_NE(hashFromString(QStringLiteral("ä")), hashFromString(QStringLiteral("ö")));
}

}  // namespace
