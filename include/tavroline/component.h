/** @file
 * How the runtime's component manager enters the library: the init record, the rows of a function table, the
 * entry.
 */
#ifndef TAVROLINE_COMPONENT_H
#define TAVROLINE_COMPONENT_H

#include "tavroline/conventions.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Version that GetVersion reports; the rows of the function table carry another one. */
#define TAVROLINE_COMPONENT_VERSION 0x01000104u
#define TAVROLINE_FUNCTION_VERSION 0x01000105u

/** An external function of any parameter structure; cast back to void (*)(xxx_struct*) before calling. */
typedef void (*ExternalFunction)(void);

/** One row of a function table; the end row is {null, "", 0, 0}. Cells are pointer-sized. */
typedef struct {
  ExternalFunction pfFunction;
  const char* pszName;
  uintptr_t ulSignatureId;
  uintptr_t ulVersion;
} ExternalFunctionEntry;

/** Register a function table: 0 on success. `external` is 1 for functions that IEC code calls. */
typedef RTS_RESULT (*RegisterApiFunction)(const ExternalFunctionEntry* table, uintptr_t reserved,
                                          uintptr_t external, uintptr_t componentId);
/** Store the address of the runtime function `name` into `*variable`: 0 on success. */
typedef RTS_RESULT (*GetApiFunction)(const char* name, void** variable, uintptr_t option,
                                     uintptr_t signatureId, uintptr_t version);
/** A runtime service whose signature this component does not need. */
typedef void (*RuntimeService)(void);

/** The component manager's record: pointer-sized words, 0 to 6 written by the component, 7 to 13 read. */
typedef struct {
  uintptr_t ulComponentId;                                                                 /* 0 */
  RTS_RESULT (*pfExportFunctions)(void);                                                   /* 1 */
  RTS_RESULT (*pfImportFunctions)(void);                                                   /* 2 */
  uint32_t (*pfGetVersion)(void);                                                          /* 3 */
  RuntimeService pfUnused4;                                                                /* 4: null */
  RuntimeService pfUnused5;                                                                /* 5: null */
  RTS_RESULT (*pfHookFunction)(uint32_t hook, uintptr_t parameter1, uintptr_t parameter2); /* 6 */
  RegisterApiFunction pfRegisterApi;                                                       /* 7 */
  RuntimeService pfServices[5]; /* 8 to 12: kept, not used */
  GetApiFunction pfGetApi;      /* 13 */
} ComponentInitRecord;

/** The hook number of the communication cycle; every other hook is ignored. */
#define TAVROLINE_HOOK_COMM_CYCLE 20u

/**
 * Fill words 0 to 6 of the record and keep words 7 to 13. Calls no runtime function, takes no lock.
 * @param record must not be null; null is refused
 * @return 0; 1 when the record is null. [init]
 */
TAVROLINE_EXPORT int ComponentEntry(ComponentInitRecord* record);

#ifdef __cplusplus
}
#endif

#endif
