#ifndef MARL_HOST_H
#define MARL_HOST_H

#include <stddef.h>

#include "marl/export.h"

// The library reaches its host through these plain functions. The library ships a default for
// each: memory goes to the global allocator, every other family does nothing or reports
// failure. A host program replaces a default by defining a function of the same name.

#ifdef __cplusplus
extern "C" {
#endif

// Memory. RollAreaUnregisteredAlloc serves every object and container of the library; a
// replacement signals exhaustion by throwing std::bad_alloc or by returning null.
MARL_HOST_API void* RollAreaUnregisteredAlloc(size_t size);
MARL_HOST_API void RollAreaUnregisteredFree(void* block);
MARL_HOST_API void* RollAreaUnregisteredPlacementAlloc(size_t size, void* place);
MARL_HOST_API void RollAreaUnregisteredPlacementFree(void* place);
MARL_HOST_API void* RollAreaMemoryAlloc(size_t size);
MARL_HOST_API void RollAreaMemoryFree(void* block);
MARL_HOST_API void* RollAreaMemoryPlacementAlloc(size_t size, void* place);
MARL_HOST_API void RollAreaMemoryPlacementFree(void* place);
MARL_HOST_API void* WorkProcessMemoryAlloc(size_t size);
MARL_HOST_API void WorkProcessMemoryFree(void* block);
MARL_HOST_API void* WorkProcessMemoryPlacementAlloc(size_t size, void* place);
MARL_HOST_API void WorkProcessMemoryPlacementFree(void* place);
MARL_HOST_API void trigger_gc_step(void);

// Code-page conversion. Code pages are four-character host numbers ("4110"). Converters are
// opaque blocks of TOVASizeOfConverter() bytes. Results: 0 done, 1 source ends inside a
// character, 2 target full, 3 illegal character, 4 internal error.
typedef struct TOVACodePage {
  char digits[4];
} TOVACodePage;

MARL_HOST_API size_t TOVASizeOfConverter(void);
MARL_HOST_API int TOVAInitConverter(void* converter, const TOVACodePage* from,
                                    const TOVACodePage* to, int blockMode);
MARL_HOST_API int TOVACopyConverter(void* target, const void* source);
MARL_HOST_API void TOVAShutdownConverter(void* converter);
MARL_HOST_API int TOVAConvertUCS2ToORVCP(void* converter, const wchar_t** source,
                                         const wchar_t* sourceEnd, unsigned char** target,
                                         const unsigned char* targetEnd);
MARL_HOST_API int TOVAConvertORVCPToUCS2(void* converter, const unsigned char** source,
                                         const unsigned char* sourceEnd, wchar_t** target,
                                         const wchar_t* targetEnd);
MARL_HOST_API int TOVAConvertBufferUCS2toORVCP(void* converter, const wchar_t** source,
                                               const wchar_t* sourceEnd, unsigned char** target,
                                               const unsigned char* targetEnd);
MARL_HOST_API int TOVAConvertBufferORVCPtoUCS2(void* converter, const unsigned char** source,
                                               const unsigned char* sourceEnd, wchar_t** target,
                                               const wchar_t* targetEnd);
MARL_HOST_API void TOVAConvertGetCurrentCodePage(TOVACodePage* codePage);
MARL_HOST_API void TOVAConvertGetInternalCodePage(TOVACodePage* codePage);
// Nonzero when the host knows the code-page name.
MARL_HOST_API int TOVAConvertCpNameToOrvCp(const char* name, TOVACodePage* codePage);
MARL_HOST_API int TOVAConvertOrvCpToCpName(const TOVACodePage* codePage, char* name,
                                           size_t nameSize);
MARL_HOST_API void TOVAConvertORVUCtoUCS2(void* converter, const void* source, size_t length,
                                          wchar_t* target);
MARL_HOST_API void TOVAConvertUCS2toORVUC(void* converter, const wchar_t* source, size_t length,
                                          void* target);
MARL_HOST_API void TOVAConvertToUCS2(void* converter, const void* source, size_t length,
                                     wchar_t* target);
MARL_HOST_API void TOVAConvertFromUCS2(void* converter, const wchar_t* source, size_t length,
                                       void* target);

// Host strings: the String forms carry characters, the XString forms bytes. `context` is the
// host conversion context the library keeps for them.
MARL_HOST_API void TOVAStringFirstInitRoll(void* hostString);
MARL_HOST_API void TOVAStringFirstInitFromTabh(void* hostString, const void* tableHeader);
MARL_HOST_API void TOVAStringMove(void* target, void* source);
MARL_HOST_API void TOVAStringDiscard(void* hostString);
MARL_HOST_API void TOVAStringCreate(void* hostString, size_t capacity);
MARL_HOST_API void TOVAStringSetContent(void* hostString, const wchar_t* data, size_t length,
                                        void* context);
MARL_HOST_API void TOVAStringGetContent(void* hostString, const wchar_t** data, size_t* length,
                                        void* context);
MARL_HOST_API void TOVAStringAppend(void* hostString, const wchar_t* data, size_t length,
                                    void* context);
MARL_HOST_API void TOVAXStringSetContent(void* hostString, const unsigned char* data,
                                         size_t length);
// Zero when the content was delivered.
MARL_HOST_API int TOVAXStringGetContent(void* hostString, const unsigned char** data,
                                        size_t* length);
MARL_HOST_API void TOVAXStringAppend(void* hostString, const unsigned char* data,
                                     size_t length);

// Data sets, the host's files. Negative results are failures.
MARL_HOST_API int TOVA_DsetOpen(const char* name, int forOutput, void** dataset);
MARL_HOST_API int TOVA_DsetClose(void* dataset);
MARL_HOST_API long TOVA_DsetRead(void* dataset, void* buffer, size_t size);
MARL_HOST_API long TOVA_DsetWrite(void* dataset, const void* buffer, size_t size);

// Internal tables of fixed-length lines.
MARL_HOST_API void TOVAPreprocITAB(void* table);
MARL_HOST_API size_t TOVAItLeng(void* table);
MARL_HOST_API int TOVAItType(void* table);
MARL_HOST_API void* TOVAItGetLine(void* table, size_t lineNumber);
MARL_HOST_API void* TOVAItAppLine(void* table);
MARL_HOST_API void TOVAItFree(void* table);
MARL_HOST_API void* TOVAItAccess(void* table, size_t lineNumber);
MARL_HOST_API size_t TOVAItGetRecord(void* table);

#ifdef __cplusplus
}
#endif

#endif
