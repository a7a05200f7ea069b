#include "devhost/sqlite_faults.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <array>
#include <atomic>
#include <cstring>
#include <new>

namespace dxrtest {
namespace {

// Programs with threads run through here, too, while nothing is to fail.
std::array<std::atomic<uint64_t>, 2> g_left{};
std::array<std::atomic<bool>, 2> g_failed{};
std::array<std::atomic<bool>, 2> g_failsFromThenOn{};

bool Fails(SqliteFaults::Of what) {
    const auto which = static_cast<size_t>(what);
    std::atomic<uint64_t> &left = g_left[which];
    if (left.load() == 0) {
        return g_failed[which] && g_failsFromThenOn[which];
    }
    if (left.fetch_sub(1) != 1) {
        return false;
    }
    g_failed[which] = true;
    return true;
}

// --- Memory

sqlite3_mem_methods g_memory;

void *Allocate(int bytes) {
    return Fails(SqliteFaults::Of::kMemory) ? nullptr : g_memory.xMalloc(bytes);
}

void *Reallocate(void *block, int bytes) {
    return Fails(SqliteFaults::Of::kMemory) ? nullptr : g_memory.xRealloc(block, bytes);
}

// --- Files

sqlite3_vfs *g_files = nullptr;

// SQLite's own file follows directly.
struct File {
    sqlite3_file base;

    sqlite3_file *Inner() { return reinterpret_cast<sqlite3_file *>(this + 1); }
    static sqlite3_file *Inner(sqlite3_file *file) {
        return reinterpret_cast<File *>(file)->Inner();
    }
};

template <auto kMethod, int kError, typename... Args>
int Forward(sqlite3_file *file, Args... args) {
    if (Fails(SqliteFaults::Of::kFiles)) {
        return kError;
    }
    sqlite3_file *const inner = File::Inner(file);
    return (inner->pMethods->*kMethod)(inner, args...);
}

int CloseFile(sqlite3_file *file) {
    sqlite3_file *const inner = File::Inner(file);
    return inner->pMethods->xClose(inner);
}

int Unlock(sqlite3_file *file, int level) {
    sqlite3_file *const inner = File::Inner(file);
    return inner->pMethods->xUnlock(inner, level);
}

int Control(sqlite3_file *file, int operation, void *argument) {
    sqlite3_file *const inner = File::Inner(file);
    return inner->pMethods->xFileControl(inner, operation, argument);
}

int SectorSize(sqlite3_file *file) {
    sqlite3_file *const inner = File::Inner(file);
    return inner->pMethods->xSectorSize(inner);
}

int Characteristics(sqlite3_file *file) {
    sqlite3_file *const inner = File::Inner(file);
    return inner->pMethods->xDeviceCharacteristics(inner);
}

using Methods = sqlite3_io_methods;

// Version 1: neither shared memory nor mapped files, whose calls would pass by.
const Methods kMethods = {
    1,
    CloseFile,
    Forward<&Methods::xRead, SQLITE_IOERR_READ, void *, int, sqlite3_int64>,
    Forward<&Methods::xWrite, SQLITE_IOERR_WRITE, const void *, int, sqlite3_int64>,
    Forward<&Methods::xTruncate, SQLITE_IOERR_TRUNCATE, sqlite3_int64>,
    Forward<&Methods::xSync, SQLITE_IOERR_FSYNC, int>,
    Forward<&Methods::xFileSize, SQLITE_IOERR_FSTAT, sqlite3_int64 *>,
    Forward<&Methods::xLock, SQLITE_IOERR_LOCK, int>,
    Unlock,
    Forward<&Methods::xCheckReservedLock, SQLITE_IOERR_CHECKRESERVEDLOCK, int *>,
    Control,
    SectorSize,
    Characteristics,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

int Open(sqlite3_vfs * /*files*/, const char *name, sqlite3_file *file, int flags, int *outFlags) {
    auto *const made = reinterpret_cast<File *>(file);
    made->base.pMethods = nullptr;
    if (Fails(SqliteFaults::Of::kFiles)) {
        return SQLITE_IOERR;
    }
    const int code = g_files->xOpen(g_files, name, made->Inner(), flags, outFlags);
    if (code == SQLITE_OK) {
        made->base.pMethods = &kMethods;
    }
    return code;
}

int Access(sqlite3_vfs * /*files*/, const char *name, int flags, int *result) {
    return Fails(SqliteFaults::Of::kFiles) ? SQLITE_IOERR_ACCESS
                                           : g_files->xAccess(g_files, name, flags, result);
}

class Between : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_EQ(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_memory), SQLITE_OK);
        sqlite3_mem_methods failing = g_memory;
        failing.xMalloc = Allocate;
        failing.xRealloc = Reallocate;
        ASSERT_EQ(sqlite3_config(SQLITE_CONFIG_MALLOC, &failing), SQLITE_OK);
        ASSERT_EQ(sqlite3_initialize(), SQLITE_OK);
        g_files = sqlite3_vfs_find(nullptr);
        ASSERT_NE(g_files, nullptr);
        static sqlite3_vfs files = *g_files;
        files.zName = "failing";
        files.szOsFile += static_cast<int>(sizeof(File));
        files.xOpen = Open;
        files.xAccess = Access;
        ASSERT_EQ(sqlite3_vfs_register(&files, 1), SQLITE_OK);
    }
};

const testing::Environment *const kBetween = testing::AddGlobalTestEnvironment(new Between);

}  // namespace

void SqliteFaults::FailNth(Of what, uint64_t n, bool fromThenOn) {
    g_failsFromThenOn[static_cast<size_t>(what)] = fromThenOn;
    g_failed[static_cast<size_t>(what)] = false;
    g_left[static_cast<size_t>(what)] = n;
}

bool SqliteFaults::Stop(Of what) {
    g_left[static_cast<size_t>(what)] = 0;
    g_failsFromThenOn[static_cast<size_t>(what)] = false;
    return g_failed[static_cast<size_t>(what)];
}

}  // namespace dxrtest
