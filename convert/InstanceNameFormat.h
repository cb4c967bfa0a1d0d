#pragma once

#include <QString>

namespace Tavroline {

/**
 * Insert an instance number into an instance name that may hold a printf-style directive.
 *
 * The name comes from the PLC application, so it is scanned here and never given to printf: at most one
 * integer directive (d i u o x X with flags, width and precision, the latter two clamped to 255, length
 * modifiers dropped) is rendered, %% is a percent sign, and everything else is literal text. A name with a
 * percent sign passes through Latin-1 (foreign characters become ?); one without comes back unchanged.
 * [any-thread]
 */
QString formatInstanceName(const QString& name, int number);

}  // namespace Tavroline
