// The application bundle the running executable belongs to:
// <Name>.app/Contents/MacOS/<executable>, with resources in
// Contents/Resources/, localisations in Contents/Resources/<lang>.lproj/,
// the window-system plug-in in Contents/PlugIns/ and Contents/Info.plist.
#pragma once

#include <optional>
#include <string>
#include <vector>

class Bundle {
public:
    // The bundle of the running executable (found through /proc/self/exe).
    static const Bundle& mainBundle();

    // The bundle around `executablePath`; an executable outside a bundle
    // makes its own folder the bundle, with resources beside it.
    explicit Bundle(const std::string& executablePath);

    const std::string& bundlePath() const { return bundlePath_; }
    const std::string& resourcePath() const { return resourcePath_; }
    std::string pluginPath(const std::string& name) const;

    // A resource by file name: the unlocalised one first, then the one of the
    // preferred localisation. Nullopt when neither exists.
    std::optional<std::string> pathForResource(const std::string& name) const;

    // A resource of one localisation only ("de" looks in de.lproj).
    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& localization) const;

    // The first of the user's languages (then their language part) that the
    // bundle has, else Info.plist's development region, else "en".
    std::string preferredLocalization() const;

    // The bundle's own Localizable.strings entry for `key` in the preferred
    // localisation, or `value` when there is none.
    std::string localizedStringForKey(const std::string& key, const std::string& value) const;

private:
    bool HasLocalization(const std::string& language) const;

    std::string bundlePath_;
    std::string resourcePath_;
    std::string contentsPath_;
};
