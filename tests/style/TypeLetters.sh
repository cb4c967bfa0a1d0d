#!/bin/sh
# Names with a type letter (m_bStop, bSent) are allowed only where the interface prescribes them.
prescribed='m_bListChanged m_bCentralDetectorState m_bRequestAlarmState m_iFilterStateAlarm m_iFilterStateAcknowledge
  m_sLanguage m_sAlarmId m_sModuleName m_sUser bInterfaceReady'
found=$(grep -rnowE --include='*.h' --include='*.cpp' --include='*.c' '(m_[bdfilnpsuw]|b)[A-Z][A-Za-z0-9]*' "$@" |
  grep -vwF "$(printf '%s\n' $prescribed)")
[ -z "$found" ] || { echo "A name begins with a type letter; write m_stop for m_bStop, isSent for bSent:"; echo "$found"; exit 1; }
