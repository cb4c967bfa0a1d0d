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
  onReaderWithResult<Reader>(ORIGIN(loadcompleteeventlist), parameters,
                             [](Reader& reader) { return reader.loadCompleteEventlist(0); });
}

void loadpartofeventlist_ext(loadpartofeventlist_struct* parameters) {
  onReaderWithResult<Reader>(ORIGIN(loadpartofeventlist), parameters, [&](Reader& reader) {
    return reader.loadCompleteEventlist(parameters->uiNumberOfEntries);
  });
}

void geteventlistentries_ext(geteventlistentries_struct* parameters) {
  if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
    return;
  }
  stGetEventlistEntriesType* const request = parameters->pstRequest;
  onReaderWithResult<Reader>(ORIGIN(geteventlistentries), request, [&](const Reader& reader) {
    return reader.convertEventlist(request->diNumberOfEntries, request->pastEntries, request->diMaxEntries);
  });
}
