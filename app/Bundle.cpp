#include "app/Bundle.h"

#include <sys/stat.h>

#include "app/PropertyList.h"
#include "app/platform/AppPlatform.h"
#include "utils/platform/Platform.h"

namespace {

bool IsFile(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool IsDirectory(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string Parent(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

std::string LastComponent(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);
}

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle(AppPlatform::ExecutablePath());
    return bundle;
}

Bundle::Bundle(const std::string& executablePath) {
    const std::string folder = Parent(executablePath);
    const std::string contents = Parent(folder);
    if (LastComponent(folder) == "MacOS" && LastComponent(contents) == "Contents") {
        contentsPath_ = contents;
        bundlePath_ = Parent(contents);
        resourcePath_ = contents + "/Resources";
    } else {
        contentsPath_ = bundlePath_ = resourcePath_ = folder;
    }
}

std::string Bundle::pluginPath(const std::string& name) const {
    return contentsPath_ + "/PlugIns/" + name;
}

bool Bundle::HasLocalization(const std::string& language) const {
    return !language.empty() && IsDirectory(resourcePath_ + "/" + language + ".lproj");
}

std::string Bundle::preferredLocalization() const {
    for (const std::string& tag : Platform::UserLanguages()) {
        if (HasLocalization(tag)) {
            return tag;
        }
        const std::string language = tag.substr(0, tag.find('-'));
        if (HasLocalization(language)) {
            return language;
        }
    }
    const std::unique_ptr<PlistDictionary> info = LoadPropertyList(contentsPath_ + "/Info.plist");
    const std::string* region = StringForKey(info.get(), "CFBundleDevelopmentRegion");
    if (region != nullptr && HasLocalization(*region)) {
        return *region;
    }
    return "en";
}

std::optional<std::string> Bundle::pathForResource(const std::string& name) const {
    const std::string unlocalized = resourcePath_ + "/" + name;
    if (IsFile(unlocalized)) {
        return unlocalized;
    }
    return pathForResource(name, preferredLocalization());
}

std::optional<std::string> Bundle::pathForResource(const std::string& name,
                                                   const std::string& localization) const {
    const std::string path = resourcePath_ + "/" + localization + ".lproj/" + name;
    if (localization.empty() || localization.find('/') != std::string::npos || !IsFile(path)) {
        return std::nullopt;
    }
    return path;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value) const {
    const std::optional<std::string> path = pathForResource("Localizable.strings");
    const std::unique_ptr<PlistDictionary> strings = path ? LoadPropertyList(*path) : nullptr;
    const std::string* text = StringForKey(strings.get(), key);
    return text != nullptr ? *text : value;
}
