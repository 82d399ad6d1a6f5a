// Ids of the host's own registries and classes.
#pragma once

#include "host/id.h"

namespace torvi::ids
{

inline constexpr Id REGISTRY_DATATYPES = "net.torvi.registry.datatypes";
inline constexpr Id REGISTRY_FILEFORMATS = "net.torvi.registry.fileformats";
inline constexpr Id REGISTRY_FILEFORMATHANDLERS = "net.torvi.registry.fileformathandlers";

/// What the libraries in use say of themselves: DataDictionaryObjects with the texts below.
inline constexpr Id REGISTRY_MODULEINFO = "net.torvi.registry.moduleinfo";
inline constexpr Id MODULEVERSIONINFO_MODULENAME = "net.torvi.moduleversioninfo.modulename";                   ///< String
inline constexpr Id MODULEVERSIONINFO_DESCRIPTION = "net.torvi.moduleversioninfo.description";                 ///< String
inline constexpr Id MODULEVERSIONINFO_VERSIONNUMBERSTRING = "net.torvi.moduleversioninfo.versionnumberstring"; ///< String

inline constexpr Id CLASS_FILEFORMATBASE = "net.torvi.class.fileformatbase";
inline constexpr Id CLASS_OBSERVABLE = "net.torvi.class.observable";
inline constexpr Id COMPONENT_OBSERVABLECOMBINERRUNALL = "net.torvi.component.observablecombinerrunall";

} // namespace torvi::ids
