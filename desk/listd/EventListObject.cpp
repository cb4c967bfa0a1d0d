#include "EventListObject.h"

#include <QDateTime>

#include "DescriptionText.h"
#include "ListServiceNames.h"

using Tavroline::ListServiceNames::kBookFigures;

namespace {

CallBatch& batchOf(void* userdata) {
  return *static_cast<CallBatch*>(userdata);
}

int onLog(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).change(call, error, [userdata](CallReader& arguments) {
    const Sender sender = arguments.sender();
    StoredEntry entry;
    entry.eventType = arguments.number();
    entry.state = arguments.number();
    entry.iconType = arguments.text();
    entry.moduleName = arguments.text();
    entry.time = arguments.time();
    entry.description = arguments.description();
    entry.keywords = arguments.keywords();
    entry.user = arguments.text();
    entry.alarmId = arguments.identifier();
    entry.objectName = arguments.text();
    batchOf(userdata).service().log(sender, entry);
  });
}

int onDelete(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).change(call, error, [userdata](CallReader& arguments) {
    batchOf(userdata).service().deleteEvents(arguments.sender());
  });
}

int onGetList(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader& arguments, sd_bus_message* reply) {
    const QString language = arguments.text();
    const quint32 count = arguments.count();
    const QByteArray list = batchOf(userdata).service().events().list(language, count);
    checkBus(sd_bus_message_append_basic(reply, SD_BUS_TYPE_STRING, list.constData()));
  });
}

int onGetLanguages(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [](CallReader&, sd_bus_message* reply) {
    checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "s"));
    const QStringList languages = DescriptionText::languages();
    for (const QString& language : languages) {
      checkBus(sd_bus_message_append(reply, "s", language.toUtf8().constData()));
    }
    checkBus(sd_bus_message_close_container(reply));
  });
}

int onGetState(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader&, sd_bus_message* reply) {
    const ListSnapshot state = batchOf(userdata).service().snapshot();
    checkBus(sd_bus_message_append(reply, "t", state.eventGeneration));
  });
}

int onGetStatistics(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader&, sd_bus_message* reply) {
    const Counters c = batchOf(userdata).service().counters();
    checkBus(sd_bus_message_append(reply, "a{st}", 7U, "entries", c.entries, "capacity", c.capacity, "stored",
                                   c.stored, "overwritten", c.overwritten, "duplicates", c.duplicates,
                                   "rejected", batchOf(userdata).rejected(), "sessions", c.sessions));
  });
}

int onReportBooks(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).change(call, error, [userdata](CallReader& arguments) {
    const QString session = arguments.session();
    batchOf(userdata).clientCounters().keep(
        {session, QDateTime::currentMSecsSinceEpoch(), arguments.figures()});
  });
}

int onGetBooks(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader&, sd_bus_message* reply) {
    checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "(sxa{st})"));
    for (const ClientCounters::Report& report : batchOf(userdata).clientCounters().reports()) {
      checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_STRUCT, "sxa{st}"));
      checkBus(sd_bus_message_append(reply, "sx", report.session.toUtf8().constData(), report.time));
      checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "{st}"));
      for (std::size_t i = 0; i < kBookFigures.size(); ++i) {
        checkBus(sd_bus_message_append(reply, "{st}", kBookFigures.at(i), report.figures.at(i)));
      }
      checkBus(sd_bus_message_close_container(reply));
      checkBus(sd_bus_message_close_container(reply));
    }
    checkBus(sd_bus_message_close_container(reply));
  });
}

// The table's macros are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
constexpr sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("Log",
                            SD_BUS_ARGS("s", session, "t", sequence, "i", event_type, "i", state, "s",
                                        icon_type, "s", module_name, "x", time, "a{sv}", description, "as",
                                        keywords, "s", user, "s", alarm_id, "s", object_name),
                            SD_BUS_NO_RESULT, onLog, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Delete", SD_BUS_ARGS("s", session, "t", sequence), SD_BUS_NO_RESULT, onDelete,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetList", SD_BUS_ARGS("s", language, "u", count), SD_BUS_RESULT("s", list),
                            onGetList, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetLanguages", SD_BUS_NO_ARGS, SD_BUS_RESULT("as", languages), onGetLanguages,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetState", SD_BUS_NO_ARGS, SD_BUS_RESULT("t", generation), onGetState,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetStatistics", SD_BUS_NO_ARGS, SD_BUS_RESULT("a{st}", counters),
                            onGetStatistics, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("ReportBooks", SD_BUS_ARGS("s", session, "a{st}", figures), SD_BUS_NO_RESULT,
                            onReportBooks, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetBooks", SD_BUS_NO_ARGS, SD_BUS_RESULT("a(sxa{st})", books), onGetBooks,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL_WITH_ARGS("Changed", SD_BUS_ARGS("t", generation), 0),
    SD_BUS_VTABLE_END,
};
#pragma GCC diagnostic pop

}  // namespace

void addEventListObject(sd_bus* bus, CallBatch& batch) {
  checkBus(sd_bus_add_object_vtable(bus, nullptr, Tavroline::ListServiceNames::kEventListPath,
                                    Tavroline::ListServiceNames::kEventListInterface, kMethods, &batch));
}
