#ifndef KLB_SAMPLES_COMPONENT_HOST_PLUGIN_FILE_H
#define KLB_SAMPLES_COMPONENT_HOST_PLUGIN_FILE_H

#include "meridian.h"

#include <filesystem>

/// A plug-in's shared library, loaded for this object's lifetime.
class PlugInFile {
public:
    /// Throws std::runtime_error when the file cannot be loaded or is no plug-in.
    explicit PlugInFile(const std::filesystem::path& path);
    ~PlugInFile();
    PlugInFile(const PlugInFile&) = delete;
    PlugInFile& operator=(const PlugInFile&) = delete;

    int run(IOBXUnknown& host) const {
        return entry_(&host);
    }

private:
    void* library_;
    MeridianPlugIn entry_;
};

#endif
