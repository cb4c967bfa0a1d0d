#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/** A D-Bus message in little-endian form: the header's fields, and the body as bytes. */
struct WireMessage {
  enum Type : std::uint8_t { Call = 1, Return = 2, Error = 3, Signal = 4 };
  static constexpr std::uint8_t kNoReply = 1;  ///< flag

  std::uint8_t type = Call;
  std::uint8_t flags = 0;
  std::uint32_t serial = 0;
  std::uint32_t replySerial = 0;
  std::string path, interface, member, error, destination, sender, signature;
  std::string body;

  /** The size of the message that begins with these bytes, 0 if its first 16 are not complete. */
  static std::size_t sizeOf(std::string_view bytes);
  /** Read one message, which is complete. */
  static WireMessage parse(std::string_view bytes);
  std::string bytes() const;

  /** The texts with which the body begins. */
  std::vector<std::string> texts() const;
  void append(const std::string& text);
  void append(std::uint32_t number);
};
