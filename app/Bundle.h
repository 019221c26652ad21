// The application bundle the running executable belongs to:
// <Name>.app/Contents/MacOS/<executable>, with resources in
// Contents/Resources/, localisations in Contents/Resources/<lang>.lproj/,
// the window-system plug-in in Contents/PlugIns/ and Contents/Info.plist.
//
// It also keeps the bundle's Localizable.strings tables: the one place the
// app finds and reads them.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "app/PropertyList.h"

class Bundle {
public:
    // The bundle the program was started from: a product's bundle whose
    // executable is a link to the companion's is the product's.
    static const Bundle& mainBundle();

    // The bundle of the real executable (links resolved), where the
    // companion's own files are: the panel plug-in, the sample template.
    static const Bundle& companionBundle();

    // The bundle around `executablePath`; an executable outside a bundle
    // makes its own folder the bundle, with resources beside it.
    explicit Bundle(const std::string& executablePath);

    // The <Name>.app folder (or the executable's folder outside a bundle).
    const std::string& bundlePath() const { return bundlePath_; }
    // The folder of the unlocalised resources and the <lang>.lproj folders.
    const std::string& resourcePath() const { return resourcePath_; }
    // Where the plug-in `name` sits: Contents/PlugIns/<name>.
    std::string pluginPath(const std::string& name) const;

    // A resource by file name: the unlocalised one first, then the one of the
    // preferred localisation. Nullopt when neither exists.
    std::optional<std::string> pathForResource(const std::string& name) const;

    // A resource of one localisation only ("de" looks in de.lproj). A name
    // that is not a plain folder name ("../x") finds nothing, so no
    // localisation can lead outside the resources.
    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& localization) const;

    // The first of the user's languages (then their language part) that the
    // bundle has, else Info.plist's development region, else "en". Found
    // once, when the bundle is made.
    const std::string& preferredLocalization() const { return preferredLocalization_; }

    // The Localizable.strings table of `localization` only, or without one,
    // the unlocalised table, else the preferred localisation's. A table is
    // read once and kept; null while there is none or it cannot be read,
    // and then looked for again on the next call.
    std::shared_ptr<PlistDictionary> stringsTable(const std::string* localization) const;

    // The entry for `key` in the bundle's own strings table (the preferred
    // localisation's), or `value` when there is none.
    std::string localizedStringForKey(const std::string& key, const std::string& value) const;

private:
    bool HasLocalization(const std::string& language) const;
    std::string FindPreferredLocalization() const;

    std::string bundlePath_;
    std::string resourcePath_;
    std::string contentsPath_;
    std::string preferredLocalization_;
    // Tables read so far, by file path. The app runs on one thread.
    mutable std::map<std::string, std::shared_ptr<PlistDictionary>> stringsTables_;
};
