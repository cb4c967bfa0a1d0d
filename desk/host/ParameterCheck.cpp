#include "ParameterCheck.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <map>

#include "tavroline/tavroline.h"

namespace {

/** More elements than this are no array of a program: the event list of the desk has as many entries. */
constexpr std::int64_t kHuge = 10000;

using Texts = std::vector<std::string>;

std::int64_t elements(const __ARRAY__DIM__INFO& bounds) {
  return std::int64_t{bounds.upper} - bounds.lower + 1;
}

void checkCode(Texts& found, const std::string& field, int value, const char* meanings,
               std::initializer_list<int> codes) {
  if (std::find(codes.begin(), codes.end(), value) == codes.end()) {
    found.push_back(field + " is " + std::to_string(value) + ", but may be: " + meanings);
  }
}

void checkBounds(Texts& found, const std::string& field, const __ARRAY__DIM__INFO& bounds) {
  // An upper bound one below the lower one is the usual empty array.
  const std::int64_t count = elements(bounds);
  if (count >= 0 && count <= kHuge) {
    return;
  }
  found.push_back(field + " is " + std::to_string(bounds.lower) + ".." + std::to_string(bounds.upper) +
                  (count < 0 ? ": inverted, so that no element is read"
                             : ": huge, " + std::to_string(count) + " elements"));
}

void checkSize(Texts& found, const std::string& field, int size, const char* array,
               const __ARRAY__DIM__INFO& bounds) {
  if (size <= 0 && elements(bounds) > 0) {
    found.push_back(field + " is " + std::to_string(size) + ", so that no element of " + array + " is read");
  }
}

void checkRoom(Texts& found, const std::string& field, std::int64_t count) {
  if (count <= 0) {
    found.push_back(field + " is " + std::to_string(count) + ", so that nothing is copied");
  }
}

void checkOrder(Texts& found, const char* earliest, std::uint32_t from, const std::string& latest,
                std::uint32_t to) {
  if (to < from) {
    found.push_back(latest + " is before " + earliest + ", so that no entry passes");
  }
}

void checkNotNull(Texts& found, const std::string& field, const void* target) {
  if (target == nullptr) {
    found.push_back(field + " is null");
  }
}

template <typename Structure>
void checkTarget(Texts& found, const std::string& field, const Structure* target);
template <typename Element>
void checkArray(Texts& found, const std::string& field, const Element* first,
                const __ARRAY__DIM__INFO& bounds);

// check() for each structure that has a rule, nested ones first: written from the interface's description.
#include "FieldRules.inc"

template <typename Structure>
void checkTarget(Texts& found, const std::string& field, const Structure* target) {
  checkNotNull(found, field, target);
  if (target != nullptr) {
    check(found, *target, field + '.');
  }
}

/** Checks the elements of an array whose bounds are neither inverted nor huge. */
template <typename Element>
void checkArray(Texts& found, const std::string& field, const Element* first,
                const __ARRAY__DIM__INFO& bounds) {
  checkNotNull(found, field, first);
  const std::int64_t count = first == nullptr || elements(bounds) > kHuge ? 0 : elements(bounds);
  for (std::int64_t i = 0; i < count; ++i) {
    check(found, first[i], field + '[' + std::to_string(i) + "].");
  }
}

template <typename Structure>
void checkCall(Texts& found, const void* parameters) {
  check(found, *static_cast<const Structure*>(parameters), "");
}

template <typename Structure, TavrolineHandle Structure::*kMember>
TavrolineHandle handleOf(const void* parameters) {
  return static_cast<const Structure*>(parameters)->*kMember;
}

using ParameterCheck::HandleUse;

struct FunctionRules {
  void (*check)(Texts&, const void*);  ///< null if no field has a rule
  HandleUse::Kind kind;
  const char* handleField;
  TavrolineHandle (*handle)(const void*);  ///< null if it neither opens nor closes
};

/** The rules of a function, null if there is no external function of that name. */
const FunctionRules* rulesOf(const std::string& function) {
  static const std::map<std::string, FunctionRules> kRules{
#include "FunctionRules.inc"
  };
  const auto found = kRules.find(function);
  return found == kRules.end() ? nullptr : &found->second;
}

}  // namespace

std::vector<std::string> ParameterCheck::misuses(const std::string& function, const void* parameters) {
  const FunctionRules* rules = rulesOf(function);
  Texts found;
  if (rules != nullptr && parameters == nullptr) {
    found.emplace_back("the structure is null, so that nothing happens");
  } else if (rules != nullptr && parameters != nullptr && rules->check != nullptr) {
    rules->check(found, parameters);
  }
  return found;
}

ParameterCheck::HandleUse ParameterCheck::handleUse(const std::string& function, const void* parameters) {
  const FunctionRules* rules = rulesOf(function);
  if (rules == nullptr || parameters == nullptr || rules->handle == nullptr) {
    return {};
  }
  return {rules->kind, rules->handleField, rules->handle(parameters)};
}
