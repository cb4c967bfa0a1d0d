/** @file
 * The whole interface of the component; conventions.h says what holds for all of it.
 */
#ifndef TAVROLINE_TAVROLINE_H
#define TAVROLINE_TAVROLINE_H

#include "tavroline/alarmlist.h"
#include "tavroline/alarms.h"
#include "tavroline/component.h"
#include "tavroline/conventions.h"
#include "tavroline/description.h"
#include "tavroline/eventlist.h"
#include "tavroline/events.h"
#include "tavroline/filter.h"
#include "tavroline/handles.h"

#endif
