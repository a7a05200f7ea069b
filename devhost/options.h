// DxrHostOptions with texts of their own.
#ifndef DXR_DEVHOST_OPTIONS_H
#define DXR_DEVHOST_OPTIONS_H

#include <cstdint>
#include <string>

#include "dxr_devhost/host.h"

namespace devhost {

struct Options {
    uint32_t clock;
    uint64_t seed;
    uint32_t startSec;
    uint32_t endSec;
    uint64_t memoryLimit;
    std::string workPath;
    std::string binFolder;
    std::string configPath;
    std::string logDirectory;
    std::string logFile;
    uint32_t logFileBytes;
    uint32_t logFileCount;
    uint32_t printLevel;
    std::string database;
    std::string board;
    bool allowOutside;
    bool switchAtCalls;
    std::string pluginPath;
};

// Those that are given, or others for null. Of a record of another size nothing else is read; it is
// as wrong as before.
DxrHostOptions OptionsOr(const DxrHostOptions *given, const DxrHostOptions &others);

// Defaults stand for null texts. False when size or clock are wrong.
bool ReadOptions(const DxrHostOptions &from, Options &options);

// From a JSON file; on failure false, and a line that says why.
bool ReadOptionsFile(const char *path, Options &options, std::string &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_OPTIONS_H
