#pragma once

#include <vector>

#include "AlarmReader.h"
#include "Functions.h"

/** What the program shows of the lists, as aligned tables on standard output. */
namespace Tables {

void print(const char* title, const std::vector<stEventlistEntryType>& entries);
void print(const char* title, const std::vector<stAlarmlistEntryType>& entries);
void print(const char* title, const AlarmReader::Summary& summary);

}  // namespace Tables
