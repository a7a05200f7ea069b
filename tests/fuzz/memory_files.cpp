#include "fuzz/memory_files.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "fuzz/input.h"

using dxrfuzz::Call;
using dxrfuzz::MemoryFile;
using dxrfuzz::MemoryFiles;

namespace {

struct Handle {
    MemoryFile *file;
    size_t position;
    bool writes;
    bool atEnd;
    bool inError;
};

Handle g_handles[MemoryFiles::kHandles];

struct Folder {
    size_t position;
    dirent entry;
} g_folder;

Handle *HandleOf(std::FILE *file) {
    auto *const handle = reinterpret_cast<Handle *>(file);
    DXR_FUZZ_SAME(handle >= g_handles && handle < g_handles + MemoryFiles::kHandles);
    DXR_FUZZ_SAME(handle->file != nullptr);
    return handle;
}

}  // namespace

// NOLINTBEGIN: the names are the linker's.
extern "C" {

char *__real_realpath(const char *path, char *resolved);
char *__wrap_realpath(const char *path, char *resolved) {
    MemoryFiles *const files = MemoryFiles::standing;
    if (files == nullptr) {
        return __real_realpath(path, resolved);
    }
    if (files->Fails(Call::kRealpath) || files->Find(path) == nullptr) {
        errno = ENOENT;
        return nullptr;
    }
    std::memcpy(resolved, path, std::strlen(path) + 1);
    return resolved;
}

std::FILE *__real_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen(const char *path, const char *mode) {
    MemoryFiles *const files = MemoryFiles::standing;
    if (files == nullptr) {
        return __real_fopen(path, mode);
    }
    const bool writes = std::strcmp(mode, "w") == 0;
    DXR_FUZZ_SAME(writes || std::strcmp(mode, "r") == 0);
    MemoryFile *const file = files->Find(path);
    if (files->Fails(Call::kFopen) || file == nullptr) {
        errno = EACCES;
        return nullptr;
    }
    for (Handle &handle : g_handles) {
        if (handle.file == nullptr) {
            ++files->openHandles;
            handle = {file, 0, writes, false, false};
            if (writes) {
                file->content.clear();
            }
            return reinterpret_cast<std::FILE *>(&handle);
        }
    }
    return nullptr;
}

int __real_fclose(std::FILE *file);
int __wrap_fclose(std::FILE *file) {
    if (MemoryFiles::standing == nullptr) {
        return __real_fclose(file);
    }
    HandleOf(file)->file = nullptr;
    --MemoryFiles::standing->openHandles;
    return 0;
}

int __real_fseek(std::FILE *file, long offset, int origin);
int __wrap_fseek(std::FILE *file, long offset, int origin) {
    if (MemoryFiles::standing == nullptr) {
        return __real_fseek(file, offset, origin);
    }
    DXR_FUZZ_SAME(origin == SEEK_SET && offset >= 0);
    Handle *const handle = HandleOf(file);
    if (MemoryFiles::standing->Fails(Call::kFseek)) {
        return -1;
    }
    handle->position = static_cast<size_t>(offset);
    handle->atEnd = false;
    return 0;
}

int __real_feof(std::FILE *file);
int __wrap_feof(std::FILE *file) {
    return MemoryFiles::standing == nullptr ? __real_feof(file) : HandleOf(file)->atEnd ? 1 : 0;
}

int __real_ferror(std::FILE *file);
int __wrap_ferror(std::FILE *file) {
    return MemoryFiles::standing == nullptr ? __real_ferror(file) : HandleOf(file)->inError ? 1 : 0;
}

char *__real_fgets(char *line, int size, std::FILE *file);
char *__wrap_fgets(char *line, int size, std::FILE *file) {
    if (MemoryFiles::standing == nullptr) {
        return __real_fgets(line, size, file);
    }
    Handle *const handle = HandleOf(file);
    const std::string &content = handle->file->content;
    if (MemoryFiles::standing->Fails(Call::kFgets)) {
        handle->inError = true;
        return nullptr;
    }
    int length = 0;
    while (length < size - 1 && handle->position < content.size()) {
        line[length] = content[handle->position++];
        if (line[length++] == '\n') {
            break;
        }
    }
    if (length == 0) {
        handle->atEnd = true;
        return nullptr;
    }
    line[length] = '\0';
    return line;
}

size_t __real_fread(void *buffer, size_t size, size_t count, std::FILE *file);
size_t __wrap_fread(void *buffer, size_t size, size_t count, std::FILE *file) {
    if (MemoryFiles::standing == nullptr) {
        return __real_fread(buffer, size, count, file);
    }
    Handle *const handle = HandleOf(file);
    DXR_FUZZ_SAME(size == 1 && !handle->writes);
    const std::string &content = handle->file->content;
    const bool fails = MemoryFiles::standing->Fails(Call::kFread);
    const size_t wanted = fails ? count / 2 : count;
    const size_t left =
        handle->position < content.size() ? content.size() - handle->position : size_t{0};
    const size_t got = std::min(wanted, left);
    if (got != 0) {
        std::memcpy(buffer, content.data() + handle->position, got);
    }
    handle->position += got;
    handle->atEnd = got < wanted;
    handle->inError = handle->inError || fails;
    return got;
}

size_t __real_fwrite(const void *buffer, size_t size, size_t count, std::FILE *file);
size_t __wrap_fwrite(const void *buffer, size_t size, size_t count, std::FILE *file) {
    if (MemoryFiles::standing == nullptr) {
        return __real_fwrite(buffer, size, count, file);
    }
    Handle *const handle = HandleOf(file);
    DXR_FUZZ_SAME(handle->writes && count == 1);
    const bool fails = MemoryFiles::standing->Fails(Call::kFwrite);
    handle->file->content.append(static_cast<const char *>(buffer), fails ? size / 2 : size);
    return fails || size == 0 ? 0 : 1;
}

int __real_remove(const char *path);
int __wrap_remove(const char *path) {
    if (MemoryFiles::standing == nullptr) {
        return __real_remove(path);
    }
    MemoryFile *const file = MemoryFiles::standing->Find(path);
    if (MemoryFiles::standing->Fails(Call::kRemove) || file == nullptr) {
        return -1;
    }
    file->exists = false;
    return 0;
}

int __real_rename(const char *from, const char *to);
int __wrap_rename(const char *from, const char *to) {
    if (MemoryFiles::standing == nullptr) {
        return __real_rename(from, to);
    }
    MemoryFile *const source = MemoryFiles::standing->Find(from);
    if (MemoryFiles::standing->Fails(Call::kRename) || source == nullptr) {
        return -1;
    }
    for (MemoryFile &file : MemoryFiles::standing->files) {
        if (file.path == to) {
            source->exists = false;
            file.exists = true;
            file.content = source->content;
            return 0;
        }
    }
    return -1;
}

DIR *__real_opendir(const char *path);
DIR *__wrap_opendir(const char *path) {
    MemoryFiles *const files = MemoryFiles::standing;
    if (files == nullptr) {
        return __real_opendir(path);
    }
    if (files->Fails(Call::kOpendir) || files->folderPath != path) {
        errno = ENOTDIR;
        return nullptr;
    }
    ++files->openFolders;
    g_folder.position = 0;
    return reinterpret_cast<DIR *>(&g_folder);
}

dirent *__real_readdir(DIR *folder);
dirent *__wrap_readdir(DIR *folder) {
    if (MemoryFiles::standing == nullptr) {
        return __real_readdir(folder);
    }
    const std::string &names = MemoryFiles::standing->folderNames;
    if (g_folder.position >= names.size()) {
        return nullptr;
    }
    const char *const name = names.c_str() + g_folder.position;
    const size_t length = std::strlen(name);
    g_folder.position += length + 1;
    const size_t kept = std::min(length, sizeof(g_folder.entry.d_name) - 1);
    std::memcpy(g_folder.entry.d_name, name, kept);
    g_folder.entry.d_name[kept] = '\0';
    return &g_folder.entry;
}

int __real_closedir(DIR *folder);
int __wrap_closedir(DIR *folder) {
    if (MemoryFiles::standing == nullptr) {
        return __real_closedir(folder);
    }
    --MemoryFiles::standing->openFolders;
    return 0;
}

int __real_access(const char *path, int mode);
int __wrap_access(const char *path, int mode) {
    if (MemoryFiles::standing == nullptr) {
        return __real_access(path, mode);
    }
    return MemoryFiles::standing->Find(path) != nullptr ? 0 : -1;
}

}  // extern "C"
// NOLINTEND
