#pragma once

#include "CallBatch.h"

/**
 * The alarm list on the bus: its methods as described in org.tavroline.ListService1.xml. Argument order and
 * types are here, what a call does is in ListService.
 *
 * @param bus, batch must live as long as the object, which goes with the bus
 * @throws std::runtime_error when sd-bus refuses. [any-thread]
 */
void addAlarmListObject(sd_bus* bus, CallBatch& batch);
