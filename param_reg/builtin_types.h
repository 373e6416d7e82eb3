/* The 37 parameter types of the shell's grammar. Compiled trees name them by their masks only, so
 * the masks are a contract with every tree. tsh_types_builtin (param_reg/values.h) describes their
 * values. */
#ifndef TSH_PARAM_REG_BUILTIN_TYPES_H
#define TSH_PARAM_REG_BUILTIN_TYPES_H

#include "platform/tsh_api.h"

#include <stdint.h>

/* Within a class the type bits ascend from bit 0 without gaps. */
#define PARAM_TYPE_STRING 0x00000001u
#define PARAM_TYPE_LINE 0x00000002u
#define PARAM_TYPE_URI 0x00000004u
#define PARAM_TYPE_DNS_NAME 0x00000008u
#define PARAM_TYPE_USER_HOST 0x00000010u
#define PARAM_TYPE_IP 0x40000001u
#define PARAM_TYPE_IPV4 0x40000002u
#define PARAM_TYPE_IPV6 0x40000004u
#define PARAM_TYPE_INET 0x40000008u
#define PARAM_TYPE_INTEGER 0x40100001u
#define PARAM_TYPE_INTEGER_RANGE 0x40100002u
#define PARAM_TYPE_HEX 0x40100004u
#define PARAM_TYPE_INTEGER_LIST 0x40100008u
#define PARAM_TYPE_HEX_RANGE 0x40100010u
#define PARAM_TYPE_UNSIGNED 0x40100020u
#define PARAM_TYPE_UNSIGNED_RANGE 0x40100040u
#define PARAM_TYPE_HEX_LIST 0x40100080u
#define PARAM_TYPE_INTERFACE 0x40200001u
#define PARAM_TYPE_INTERFACE_RANGE 0x40200002u
#define PARAM_TYPE_MAC 0x40300001u
#define PARAM_TYPE_WWN 0x40300002u
#define PARAM_TYPE_LUN 0x40300004u
#define PARAM_TYPE_ZANET 0x40400001u
#define PARAM_TYPE_ZANET_RANGE 0x40400002u
#define PARAM_TYPE_ZANET_LIST 0x40400004u
#define PARAM_TYPE_GUID 0x40500001u
#define PARAM_TYPE_FC_ID 0x40600001u
#define PARAM_TYPE_COMMUNITY 0x40700001u
#define PARAM_TYPE_INT64 0x40800001u
#define PARAM_TYPE_UINT64 0x40800002u
#define PARAM_TYPE_HEX64 0x40800004u
#define PARAM_TYPE_SID 0x40900001u
#define PARAM_TYPE_LID 0x40900002u
#define PARAM_TYPE_NID 0x40900004u
#define PARAM_TYPE_NET 0x40900008u
#define PARAM_TYPE_PASSWORD 0x40A00001u
#define PARAM_TYPE_PSEUDO_INTERFACE 0x40B00001u

/** Registers the built-in types, once per process, in an empty registry. A registration that fails
 * ends the process with status 1 after a message on standard output. @return 0. */
TSH_API int32_t init_params(void);

/** Registers the built-in types without ending the process: continues after a failed registration
 * and keeps those made. @return the number of types that could not be registered; all of them if
 * the registry contains them already. */
TSH_API uint32_t tsh_builtin_types_register(void);

#endif
