// How the families enter their formats: the class, its one object, the object's group and the family's registry.
#pragma once

#include "host/module.h"
#include "pixelformat/component_table.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// One format as it is registered.
struct FormatEntry
{
	std::string_view _name; ///< "rgb.u8", the id without its head
	CString _shortName;     ///< "RGB::U8"; with a dot it is also the class id without its head
	Id _group;
	Id _registry;
};

/// Registers the class of a format and its object, made by `create`.
Result<void> AddPixelFormat(Module& module, const FormatEntry& entry, CreateFunction create);

/// Initialises a format that was made and enters it in the registry.
Result<void> PublishPixelFormat(Module& module, const FormatEntry& entry, const PixelFormat& format);

/// The group object of each family.
Result<void> RegisterPixelFormatGroups(Module& module);

} // namespace torvi
