#include "Entry.h"

#include <string>

using namespace std::string_view_literals;

Entry::Entry(std::string_view text, int value, std::array<std::string_view, 2> keywords,
             std::u16string_view user)
    : m_user(IecText::wide(user)) {
  constexpr RTS_IEC_INT kTextTable = 1;
  m_data.iTextSource = kTextTable;
  IecText::fill(m_data.sModuleName, std::string_view(kModule));
  IecText::fill(m_data.sObjectName, text);
  // The service replaces %d by the number and {value} by the argument; %% is a percent sign.
  IecText::fill(m_data.sInstanceName, "(P%d, {value} %%)"sv);
  m_data.iInstanceNumber = 1;
  IecText::fill(m_argument.wsPlaceholder, u"{value}"sv);
  IecText::fill(m_argument.wsArgument, std::string_view(std::to_string(value)));
  IecText::fill(m_keywords[0], keywords[0]);
  IecText::fill(m_keywords[1], keywords[1]);
}
