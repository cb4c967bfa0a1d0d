#include "TavrolineAlarmlistWrite.h"

TavrolineAlarmlistWrite::TavrolineAlarmlistWrite() : m_AlarmlistHandlerConnectorWrite(true) {}

TavrolineAlarmlistWrite::~TavrolineAlarmlistWrite() = default;
