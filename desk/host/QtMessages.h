#pragma once

#include <QtGlobal>

/** While it exists, the messages of Qt's logger are lines of the host's log. [init] */
class QtMessages {
 public:
  QtMessages();
  ~QtMessages();
  QtMessages(const QtMessages&) = delete;
  QtMessages& operator=(const QtMessages&) = delete;

 private:
  QtMessageHandler m_before;
};
