#pragma once

#include "CallBatch.h"

/**
 * Puts the alarm list on the bus: the methods that org.tavroline.ListService1.xml describes. Argument order
 * and types are here, what a call does is in ListService.
 *
 * @param bus, batch must outlive the object, which exists until the bus is closed
 * @throws std::runtime_error when sd-bus refuses
 */
void addAlarmListObject(sd_bus* bus, CallBatch& batch);
