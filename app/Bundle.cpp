#include "app/Bundle.h"

#include "app/platform/AppPlatform.h"
#include "utils/platform/Platform.h"

namespace {

constexpr const char* kStringsFile = "Localizable.strings";

std::string Parent(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

std::string LastComponent(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);
}

// A localisation names one folder inside the resources: it may hold no "/"
// (the installer's language comes from a file anyone can write).
bool IsPlainName(const std::string& localization) {
    return !localization.empty() && localization.find('/') == std::string::npos;
}

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle(AppPlatform::LaunchPath());
    return bundle;
}

const Bundle& Bundle::companionBundle() {
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
    preferredLocalization_ = FindPreferredLocalization();
}

std::string Bundle::pluginPath(const std::string& name) const {
    return contentsPath_ + "/PlugIns/" + name;
}

bool Bundle::HasLocalization(const std::string& language) const {
    return IsPlainName(language) &&
           AppPlatform::IsDirectory(resourcePath_ + "/" + language + ".lproj");
}

std::string Bundle::FindPreferredLocalization() const {
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
    if (AppPlatform::IsRegularFile(unlocalized)) {
        return unlocalized;
    }
    return pathForResource(name, preferredLocalization_);
}

std::optional<std::string> Bundle::pathForResource(const std::string& name,
                                                   const std::string& localization) const {
    const std::string path = resourcePath_ + "/" + localization + ".lproj/" + name;
    if (!IsPlainName(localization) || !AppPlatform::IsRegularFile(path)) {
        return std::nullopt;
    }
    return path;
}

std::shared_ptr<PlistDictionary> Bundle::stringsTable(const std::string* localization) const {
    const std::optional<std::string> path = localization != nullptr
                                                ? pathForResource(kStringsFile, *localization)
                                                : pathForResource(kStringsFile);
    if (!path) {
        return nullptr;
    }
    std::shared_ptr<PlistDictionary>& table = stringsTables_[*path];
    if (!table) {
        table = LoadPropertyList(*path); // stays empty, and is read again, when unreadable
    }
    return table;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value) const {
    const std::string* text = StringForKey(stringsTable(nullptr).get(), key);
    return text != nullptr ? *text : value;
}
