#include "Follow.h"

#include <cstdio>
#include <optional>

#include "Terminal.h"

namespace {

constexpr int kRetry = 1000;  // ms

[[noreturn]] void run(const Follow::Call& prepare, const Follow::Call& read, const Follow::Call& wait) {
  std::optional<ListClient> client(std::in_place);
  prepare(*client);
  read(*client);
  std::string said;
  for (;;) {
    try {
      if (client) {
        wait(*client);
      } else {
        Terminal::wait(kRetry);
        prepare(client.emplace());
      }
      read(*client);
      said.clear();
    } catch (const ClientError& error) {
      if (said != error.what()) {
        said = error.what();
        std::fprintf(stderr, "tavroline-ctl: %s; waiting\n", error.what());
      }
      if (dynamic_cast<const NoService*>(&error) == nullptr) {
        client.reset();
      }
    }
  }
}

}  // namespace

void Follow::changes(ListClient::List list, const Call& read) {
  run([list](ListClient& client) { client.subscribe(list); }, read,
      [](ListClient& client) { client.waitForChange(); });
}

void Follow::interval(quint32 seconds, const Call& read) {
  run([](ListClient&) {}, read, [seconds](ListClient&) { Terminal::wait(static_cast<int>(seconds) * 1000); });
}
