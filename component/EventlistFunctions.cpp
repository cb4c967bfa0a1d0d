#include "ExternalFunction.h"
#include "TavrolineEventlistRead.h"
#include "tavroline/eventlist.h"

using Reader = TavrolineEventlistRead;

void loadcompleteeventlist_ext(loadcompleteeventlist_struct* parameters) {
  load<Reader>(__func__, parameters, [](Reader& reader, auto&) { return reader.loadCompleteEventlist(0); });
}

void loadpartofeventlist_ext(loadpartofeventlist_struct* parameters) {
  load<Reader>(__func__, parameters,
               [](Reader& reader, auto& p) { return reader.loadCompleteEventlist(p.uiNumberOfEntries); });
}

void geteventlistentries_ext(geteventlistentries_struct* parameters) {
  copyRequest<Reader>(__func__, parameters, [](Reader& reader, auto& request) {
    return reader.convertEventlist(request.diNumberOfEntries, request.pastEntries, request.diMaxEntries);
  });
}
