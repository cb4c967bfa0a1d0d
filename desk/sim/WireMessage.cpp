#include "WireMessage.h"

#include <cstring>

namespace {

constexpr std::size_t kFixed = 16;  // bytes before the header's fields

std::size_t aligned(std::size_t position, std::size_t alignment) {
  return (position + alignment - 1) / alignment * alignment;
}

std::uint32_t numberAt(std::string_view bytes, std::size_t position) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data() + position, sizeof number);
  return number;
}

void put(std::string& bytes, std::uint32_t number) {
  bytes.resize(aligned(bytes.size(), sizeof number));
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void put(std::string& bytes, const std::string& text) {
  put(bytes, static_cast<std::uint32_t>(text.size()));
  bytes.append(text.c_str(), text.size() + 1);
}

/** The text members by the codes of their fields; null for a field of another type or none. */
template <typename Message>
auto textField(Message& message, std::size_t code) -> decltype(&message.path) {
  decltype(&message.path)
      const fields[] = {nullptr,        &message.path, &message.interface,   &message.member,
                        &message.error, nullptr,       &message.destination, &message.sender};
  return code < std::size(fields) ? fields[code] : nullptr;
}
constexpr std::size_t kTextFields = 8;
constexpr char kReplySerial = 5;
constexpr char kSignature = 8;

}  // namespace

std::size_t WireMessage::sizeOf(std::string_view bytes) {
  return bytes.size() < kFixed ? 0 : aligned(kFixed + numberAt(bytes, 12), 8) + numberAt(bytes, 4);
}

WireMessage WireMessage::parse(std::string_view bytes) {
  WireMessage message;
  message.type = static_cast<std::uint8_t>(bytes[1]);
  message.flags = static_cast<std::uint8_t>(bytes[2]);
  message.serial = numberAt(bytes, 8);
  const std::size_t end = kFixed + numberAt(bytes, 12);
  for (std::size_t at = kFixed; at < end; at = aligned(at, 8)) {
    const char code = bytes[at];
    const char type = bytes[at + 2];
    at += 4;  // the code, and the type as a signature
    if (type == 'g') {
      const auto length = static_cast<unsigned char>(bytes[at]);
      message.signature = code == kSignature ? bytes.substr(at + 1, length) : message.signature;
      at += length + 2U;
      continue;
    }
    const std::uint32_t number = numberAt(bytes, at);
    at += sizeof number;
    if (type == 'u') {
      message.replySerial = code == kReplySerial ? number : message.replySerial;
      continue;
    }
    if (std::string* const field = textField(message, static_cast<unsigned char>(code)); field != nullptr) {
      *field = bytes.substr(at, number);
    }
    at += number + 1U;
  }
  message.body = bytes.substr(aligned(end, 8));
  return message;
}

std::string WireMessage::bytes() const {
  std::string header{'l', static_cast<char>(type), static_cast<char>(flags), 1};
  put(header, static_cast<std::uint32_t>(body.size()));
  put(header, serial);
  put(header, std::uint32_t{0});
  const auto begin = [&header](char code, char kind) {
    header.resize(aligned(header.size(), 8));
    header.append({code, 1, kind, 0});
  };
  for (std::size_t code = 1; code < kTextFields; ++code) {
    if (const std::string* const field = textField(*this, code); field != nullptr && !field->empty()) {
      begin(static_cast<char>(code), code == 1 ? 'o' : 's');
      put(header, *field);
    }
  }
  if (replySerial != 0) {
    begin(kReplySerial, 'u');
    put(header, replySerial);
  }
  if (!signature.empty()) {
    begin(kSignature, 'g');
    header += static_cast<char>(signature.size());
    header.append(signature.c_str(), signature.size() + 1);
  }
  const auto length = static_cast<std::uint32_t>(header.size() - kFixed);
  std::memcpy(header.data() + 12, &length, sizeof length);
  header.resize(aligned(header.size(), 8));
  return header + body;
}

std::vector<std::string> WireMessage::texts() const {
  std::vector<std::string> result;
  std::size_t at = 0;
  for (std::size_t i = 0; i < signature.size() && signature[i] == 's'; ++i) {
    at = aligned(at, 4);
    const std::uint32_t length = numberAt(body, at);
    result.emplace_back(body, at + 4, length);
    at += length + 5U;
  }
  return result;
}

void WireMessage::append(const std::string& text) {
  signature += 's';
  put(body, text);
}

void WireMessage::append(std::uint32_t number) {
  signature += 'u';
  put(body, number);
}
