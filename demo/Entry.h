#pragma once

#include <array>
#include <string_view>

#include "IecText.h"
#include "tavroline/description.h"

/** The module name in every entry of this station. */
constexpr char kModule[] = "Basin";

/**
 * The members that logevent_struct and logalarm_struct share: description with one argument, keywords and
 * user. The structure points into this object, so it must exist until the call has returned.
 */
class Entry {
 public:
  /**
   * @param text key of the service's text table
   * @param value what replaces "{value}" in the entry's text
   * @param keywords at most two are used
   */
  Entry(std::string_view text, int value, std::array<std::string_view, 2> keywords, std::u16string_view user);

  /** Point a logevent_struct or logalarm_struct at this entry. @param type, state TAVROLINE_… constants */
  template <typename Structure>
  void describe(Structure& parameters, RTS_IEC_INT type, RTS_IEC_INT state, std::uint32_t time) const {
    parameters.iEventType = type;
    parameters.iState = state;
    parameters.psModuleName = kModule;
    parameters.dtDateTime = time;
    parameters.pstData = &m_data;
    parameters.pwsUser = m_user.data();
    parameters.iKeywordSize = sizeof m_keywords[0];
    parameters.pasKeywords = m_keywords[0];
    parameters.stKeywordsDimInfo = {0, 1};
    parameters.pastArguments = &m_argument;
    parameters.stArgumentsDimInfo = {0, 0};
    parameters.pastUrlArguments = &m_noUrlArgument;
    parameters.stUrlArgumentsDimInfo = {0, -1};
  }

 private:
  stDataType m_data{};
  stDescriptionArgumentType m_argument{};
  stDescriptionUrlArgumentType m_noUrlArgument{};  // the pointer must not be null, even for no arguments
  char m_keywords[2][TAVROLINE_TEXT_80]{};
  IecText::WString m_user;
};
