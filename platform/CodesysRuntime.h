/** @file
 * The runtime's C interface as this component sees it: elementary IEC types, the array bounds record and the
 * seven runtime functions that are looked up by name at import. No Qt, compiles as C11 and C++17.
 *
 * On a device this header is replaced by the runtime's own.
 */
#ifndef CODESYS_RUNTIME_H
#define CODESYS_RUNTIME_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int8_t RTS_IEC_BOOL; /**< BOOL: one signed byte, 0 is FALSE, anything else TRUE; written as 0 or 1 */
typedef int16_t RTS_IEC_INT; /**< INT */
typedef uint16_t RTS_IEC_UINT;          /**< UINT */
typedef int32_t RTS_IEC_DINT;           /**< DINT */
typedef uint64_t RTS_IEC_ULINT;         /**< ULINT */
typedef char RTS_IEC_STRING;            /**< one 8-bit character of a STRING */
typedef unsigned short RTS_IEC_WSTRING; /**< one 16-bit code unit of a WSTRING */
typedef uint32_t RTS_IEC_DATE_AND_TIME; /**< DATE_AND_TIME: seconds since 1970-01-01 00:00:00 */

/** Bounds of an IEC array of variable length, both inclusive. */
typedef struct {
  RTS_IEC_DINT lower;
  RTS_IEC_DINT upper;
} __ARRAY__DIM__INFO;

/** Result of a runtime function: 0 is success. */
typedef uint32_t RTS_RESULT;

/** Write one record into the runtime log. `format` and the arguments after it are as for printf. [any-thread]
 */
typedef RTS_RESULT (*LogAddFunction)(void* logger, uint32_t componentId, int32_t logClass, int32_t errorId,
                                     int32_t infoId, const char* format, ...);
/** Copy `size` bytes. [any-thread] */
typedef void* (*CMUtlMemCpyFunction)(void* target, const void* source, size_t size);
/** Copy a C string into `capacity` bytes, terminated; non-zero if it had to be cut. [any-thread] */
typedef RTS_RESULT (*CMUtlSafeStrCpyFunction)(char* target, size_t capacity, const char* source);
/** Open a file; `accessMode` 0 reads, 1 truncates and writes, 2 appends. Null on failure, with the cause in
 * `result`. */
typedef void* (*SysFileOpenFunction)(const char* path, int32_t accessMode, RTS_RESULT* result);
/** Read or write up to `size` bytes. @return the number of bytes read or written. */
typedef size_t (*SysFileReadFunction)(void* file, void* buffer, size_t size, RTS_RESULT* result);
typedef size_t (*SysFileWriteFunction)(void* file, const void* buffer, size_t size, RTS_RESULT* result);
typedef RTS_RESULT (*SysFileCloseFunction)(void* file);

/**
 * The runtime functions, null until the runtime's import call has found them. The component owns these
 * variables and never calls through them; the device's client libraries do.
 */
#define RUNTIME_EXPORT __attribute__((visibility("default")))
extern RUNTIME_EXPORT LogAddFunction pfLogAdd;
extern RUNTIME_EXPORT CMUtlMemCpyFunction pfCMUtlMemCpy;
extern RUNTIME_EXPORT CMUtlSafeStrCpyFunction pfCMUtlSafeStrCpy;
extern RUNTIME_EXPORT SysFileOpenFunction pfSysFileOpen;
extern RUNTIME_EXPORT SysFileReadFunction pfSysFileRead;
extern RUNTIME_EXPORT SysFileWriteFunction pfSysFileWrite;
extern RUNTIME_EXPORT SysFileCloseFunction pfSysFileClose;

#ifdef __cplusplus
}
#endif

#endif
