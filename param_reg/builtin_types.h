/* The 37 parameter types of the shell's grammar. Compiled trees name them by their ids only, so the
 * ids are a contract with every tree. */
#ifndef TSH_PARAM_REG_BUILTIN_TYPES_H
#define TSH_PARAM_REG_BUILTIN_TYPES_H

#include "platform/tsh_api.h"

#include <stdint.h>

#define PARAM_TYPE_URI 0x00000004u
#define PARAM_TYPE_INTERFACE 0x40200001u

/** Registers the built-in types, once per process, in an empty registry. A registration that fails
 * ends the process with status 1 after a message on standard output. @return 0. */
TSH_API int32_t init_params(void);

/** The same, without ending the process: after a registration that fails the others are tried all
 * the same, and those made stay. @return the number of types that could not be registered, of a
 * registry that has them already all of them. */
TSH_API uint32_t tsh_builtin_types_register(void);

#endif
