#pragma once

#include <vector>

#include "AlarmReader.h"
#include "Functions.h"

/** Prints lists as aligned tables on standard output, in lines of at most 100 characters. */
namespace Tables {

void print(const char* title, const std::vector<stEventlistEntryType>& entries);
void print(const char* title, const std::vector<stAlarmlistEntryType>& entries);
void print(const char* title, const AlarmReader::Summary& summary);

}  // namespace Tables
