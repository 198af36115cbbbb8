#include "tests/windows/imports.h"

#include <string.h>

static const BYTE *at(HMODULE module, DWORD offset) {
    return (const BYTE *)module + offset;
}

static FARPROC put(ULONG_PTR *place, FARPROC other) {
    const ULONG_PTR before = *place;
    DWORD protection;
    if (!VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection)) {
        return NULL;
    }
    *place = (ULONG_PTR)other;
    VirtualProtect(place, sizeof *place, protection, &protection);
    return (FARPROC)before;
}

static FARPROC replace_in(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR *dll, const char *function,
                          FARPROC other) {
    const IMAGE_THUNK_DATA *name = (const IMAGE_THUNK_DATA *)at(module, dll->OriginalFirstThunk);
    IMAGE_THUNK_DATA *address = (IMAGE_THUNK_DATA *)at(module, dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
        if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
            const IMAGE_IMPORT_BY_NAME *import =
                (const IMAGE_IMPORT_BY_NAME *)at(module, (DWORD)name->u1.AddressOfData);
            if (strcmp((const char *)import->Name, function) == 0) {
                return put((ULONG_PTR *)&address->u1.Function, other);
            }
        }
    }
    return NULL;
}

FARPROC replace_import(HMODULE module, const char *function, FARPROC other) {
    const IMAGE_DOS_HEADER *start = (const IMAGE_DOS_HEADER *)module;
    const IMAGE_NT_HEADERS *headers = (const IMAGE_NT_HEADERS *)at(module, (DWORD)start->e_lfanew);
    const IMAGE_IMPORT_DESCRIPTOR *dll = (const IMAGE_IMPORT_DESCRIPTOR *)at(
        module, headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; dll->Name != 0; ++dll) {
        const FARPROC before = replace_in(module, dll, function, other);
        if (before != NULL) {
            return before;
        }
    }
    return NULL;
}
