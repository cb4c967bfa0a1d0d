#include "Broker.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

constexpr char kNoReply[] = "org.freedesktop.DBus.Error.NoReply";

}  // namespace

Broker::Broker(std::uint64_t seed) : m_random(seed) {}

Broker::~Broker() {
  setRunning(false);
}

bool Broker::accept(int descriptor) {
  if (m_running) {
    const Id id = ++m_last;  // another thread may connect while this one allocates
    m_connections[id].descriptor = descriptor;
    Scheduler::instance().wake(this, true);
  }
  return m_running;
}

void Broker::setRunning(bool running) {
  m_running = running;
  if (!running) {
    for (auto& [id, connection] : m_connections) {
      close(connection.descriptor);
    }
    m_connections.clear();
    m_owners.clear();
  }
}

void Broker::cut(const std::string& name) {
  if (isOwned(name)) {
    end(m_owners[name]);
  }
}

void Broker::cutAllBut(const std::string& name) {
  for (auto& [id, connection] : m_connections) {
    if (id != find(name)) {
      hangUp(id, connection);
    }
  }
  Scheduler::instance().wake(this, true);
}

void Broker::stop() {
  m_stop = true;
  Scheduler::instance().wake(this, true);
}

void Broker::run() {
  while (!m_stop) {
    const Nanoseconds due = turn();
    std::vector<pollfd> files;
    for (const auto& [id, connection] : m_connections) {
      const bool full = !connection.out.empty() && connection.out.front().due <= 0;
      files.push_back({connection.descriptor, static_cast<short>(full ? POLLIN | POLLOUT : POLLIN), 0});
    }
    Scheduler::instance().pollUntil(files.data(), files.size(), due, this);
    for (auto& [id, connection] : m_connections) {
      const auto file = std::find_if(files.begin(), files.end(), [&connection = connection](const pollfd& f) {
        return f.fd == connection.descriptor && (f.revents & ~POLLOUT) != 0;
      });
      if (file != files.end()) {
        read(id, connection);
      }
    }
  }
}

/** Route and write what is due. @return when something is due next */
Nanoseconds Broker::turn() {
  const Nanoseconds now = Scheduler::instance().now();
  for (;;) {
    // The first of all messages that have arrived by now.
    auto first = m_connections.end();
    for (auto it = m_connections.begin(); it != m_connections.end(); ++it) {
      const auto& in = it->second.in;
      if (!in.empty() && in.front().due <= now &&
          (first == m_connections.end() || in.front().due < first->second.in.front().due)) {
        first = it;
      }
    }
    if (first == m_connections.end()) {
      break;
    }
    const std::string bytes = std::move(first->second.in.front().bytes);
    first->second.in.pop_front();
    route(first->first, WireMessage::parse(bytes));
  }
  Nanoseconds due = kNever;
  for (auto& [id, connection] : m_connections) {
    write(connection);
    for (const auto* const queue : {&connection.in, &connection.out}) {
      due = queue->empty() || queue->front().due <= 0 ? due : std::min(due, queue->front().due);
    }
  }
  for (const Id id : std::set<Id>(m_broken)) {
    if (m_connections.count(id) == 0 || m_connections[id].in.empty()) {
      m_broken.erase(id);
      end(id);
      due = 0;
    }
  }
  return due;
}

void Broker::read(Id id, Connection& connection) {
  char bytes[65536];
  const ssize_t size = recv(connection.descriptor, bytes, sizeof bytes, 0);
  if (size > 0) {
    connection.received.append(bytes, static_cast<std::size_t>(size));
    Scheduler::instance().noteActivity();  // there is room for more
  }
  if (!connection.authenticated) {
    authenticate(connection);
  }
  std::size_t at = 0;
  while (connection.authenticated) {
    const std::string_view rest = std::string_view(connection.received).substr(at);
    const std::size_t length = WireMessage::sizeOf(rest);
    if (length == 0 || length > rest.size()) {
      break;
    }
    enqueue(connection.in, std::string(rest.substr(0, length)));
    at += length;
  }
  connection.received.erase(0, at);
  if (size == 0 || (size < 0 && errno != EAGAIN)) {
    hangUp(id, connection);
  }
}

/** End the connection once its messages that have arrived here are passed on. */
void Broker::hangUp(Id id, Connection& connection) {
  close(connection.descriptor);
  connection.descriptor = -1;
  m_broken.insert(id);
}

/** The lines before the first message. */
void Broker::authenticate(Connection& connection) {
  for (std::size_t end = 0; (end = connection.received.find("\r\n")) != std::string::npos;) {
    const std::string line = connection.received.substr(0, end);
    connection.received.erase(0, end + 2);
    if (line == "BEGIN") {
      connection.authenticated = true;
      return;
    }
    const bool question = line.find("AUTH EXTERNAL") != std::string::npos;
    std::string answer = "OK 0123456789abcdef0123456789abcdef\r\n";
    if (question && line.back() == 'L') {
      answer = "DATA\r\n";  // the user's number is still to come
    } else if (line == "NEGOTIATE_UNIX_FD") {
      answer = "AGREE_UNIX_FD\r\n";
    }
    enqueue(connection.out, answer);
  }
}

void Broker::write(Connection& connection) {
  const Nanoseconds now = Scheduler::instance().now();
  while (!connection.out.empty() && connection.out.front().due <= now) {
    Delayed& first = connection.out.front();
    if (connection.descriptor < 0) {
      return connection.out.clear();
    }
    const ssize_t size = send(connection.descriptor, first.bytes.data(), first.bytes.size(), MSG_NOSIGNAL);
    Scheduler::instance().noteActivity();
    if (size < static_cast<ssize_t>(first.bytes.size())) {
      first.bytes.erase(0, size < 0 ? 0 : static_cast<std::size_t>(size));
      first.due = 0;  // the rest as soon as there is room
      return;
    }
    connection.out.pop_front();
  }
}

void Broker::enqueue(std::deque<Delayed>& queue, std::string bytes) {
  const Nanoseconds delay =
      faults.delay == 0 ? 0 : static_cast<Nanoseconds>(m_random() % static_cast<std::uint64_t>(faults.delay));
  const Nanoseconds due = Scheduler::instance().now() + delay;
  queue.push_back({queue.empty() ? due : std::max(due, queue.back().due), std::move(bytes)});
}

void Broker::end(Id id) {
  const auto found = m_connections.find(id);
  if (found == m_connections.end()) {
    return;
  }
  const std::string unique = found->second.name;
  close(found->second.descriptor);
  m_connections.erase(found);
  for (auto it = m_owners.begin(); it != m_owners.end();) {
    if (it->second == id) {
      const std::string name = it->first;
      it = m_owners.erase(it);
      announce(name, unique, "");
    } else {
      ++it;
    }
  }
  announce(unique, unique, "");
  for (auto& [other, caller] : m_connections) {
    for (const auto& [serial, called] : std::exchange(caller.awaited, {})) {
      if (called != id) {
        caller.awaited[serial] = called;
        continue;
      }
      WireMessage call;
      call.serial = serial;
      refuse(other, call, kNoReply);
    }
  }
}
