#pragma once

#include "Arguments.h"
#include "ListClient.h"

/** Show the event list or the alarm list as the arguments want it, and go on with its changes where they ask
 * for that: then the process's end ends it. Throws ClientError. [any-thread] */
void showEvents(ListClient& client, const Arguments& arguments);
void showAlarms(ListClient& client, const Arguments& arguments);

/** The entries of a list reply; says on stderr what the service had to leave out. [any-thread] */
QJsonArray entriesOf(const QJsonObject& reply);
