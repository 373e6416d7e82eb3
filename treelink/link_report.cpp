// Reporting and counting of a link's messages.
#include "treelink/link_report_internal.h"

#include "base/escape.h"

#include <cstdarg>
#include <cstdio>

uint32_t tsh_link_warnings;
uint32_t tsh_link_losses;

void tsh::warn(Loss loss, const char *format, ...) {
    ++tsh_link_warnings;
    if (loss == Loss::kPart)
        ++tsh_link_losses;
    va_list values;
    va_start(values, format);
    base::vprint_escaped(stderr, format, values);
    va_end(values);
}
