#include "ExternalFunction.h"
#include "TavrolineEventlistRead.h"
#include "tavroline/eventlist.h"

namespace Tavroline {
namespace {

using Reader = TavrolineEventlistRead;
constexpr char kFile[] = "EventlistFunctions";

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void loadcompleteeventlist_ext(loadcompleteeventlist_struct* parameters) {
  const Origin origin = ORIGIN(loadcompleteeventlist);
  externalFunction(origin, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      return;
    }
    Result result(parameters->iResult);
    if (Reader* const reader = readerOf<Reader>(origin, parameters->hReadHandle)) {
      result = reader->loadCompleteEventlist(0);
    }
  });
}

void loadpartofeventlist_ext(loadpartofeventlist_struct* parameters) {
  const Origin origin = ORIGIN(loadpartofeventlist);
  externalFunction(origin, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      return;
    }
    Result result(parameters->iResult);
    if (Reader* const reader = readerOf<Reader>(origin, parameters->hReadHandle)) {
      result = reader->loadCompleteEventlist(parameters->uiNumberOfEntries);
    }
  });
}

void geteventlistentries_ext(geteventlistentries_struct* parameters) {
  const Origin origin = ORIGIN(geteventlistentries);
  externalFunction(origin, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters) ||
        !TavrolineConvenienceFunctions::checkStructPointer(parameters->pstRequest)) {
      return;
    }
    stGetEventlistEntriesType& request = *parameters->pstRequest;
    Result result(request.iResult);
    if (const Reader* const reader = readerOf<Reader>(origin, request.hReadHandle)) {
      result = reader->convertEventlist(request.diNumberOfEntries, request.pastEntries, request.diMaxEntries);
    }
  });
}
