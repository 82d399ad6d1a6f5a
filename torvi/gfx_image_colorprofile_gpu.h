// Colour conversion on a graphics processor: what a host's renderer asks of the objects that describe a conversion to it.
#pragma once

#include "torvi/gfx_image_colorprofile.h"

namespace torvi
{

/// What a handler is made for.
struct ColorProfileGpuSetup
{
	UInt32 _flags = 0; ///< bit 0: the profiles have changed sides; source and destination are those of the conversion as it runs
	ColorProfile _srcProfile;
	ColorProfile _dstProfile;
};

/// Writes the program text of one conversion. Not for several threads at once.
class TORVI_EXPORT ColorProfileGpuShaderGeneratorInterface : public virtual ObjectInterface
{
public:
	/// The language of the text, such as "glsl".
	virtual String GetType() const = 0;
	/// Makes text and tables ready; to be called once, before the calls below.
	virtual Result<void> Prepare() = 0;
	/// A text that two generators share exactly when they need the same program.
	virtual Result<String> GetProgramFacrorySpecification() const = 0;
	/// Appends the function that converts a colour to the text of a program.
	virtual Result<void> AddFactoryCode(String& program) const = 0;
	/// Gives a program its values.
	virtual Result<void> SetParameters(DataDictionary& parameters) const = 0;
};

using ColorProfileGpuShaderGeneratorRef = Ref<ColorProfileGpuShaderGeneratorInterface>;

/// A conversion as a graphics processor does it.
class TORVI_EXPORT ColorProfileGpuInterface : public virtual ObjectInterface
{
public:
	/// Called once on a new object.
	virtual Result<void> Init(const ColorProfileGpuSetup& setup) = 0;
	virtual Result<ColorProfileGpuShaderGeneratorRef> CreateShaderGenerator() = 0;
};

using ColorProfileGpuRef = Ref<ColorProfileGpuInterface>;

/// Static: declared under ids::INTERFACE_LEGACYGPUPROCESSOR. Makes handlers for conversions that no OCIO configuration does.
class TORVI_EXPORT ColorProfileLegacyProcessorInterface : public virtual ObjectInterface
{
public:
	/// An object of the host's class ids::CLASS_LEGACYGPUHANDLER, initialised with the first word of flags and the profiles. Its error, or
	/// NullptrError where the host has no such class.
	virtual Result<ColorProfileGpuRef> CreateHandler(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags1,
													 UInt32 flags2) = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_LEGACYGPUPROCESSOR = "net.torvi.image.interface.legacygpuprocessor";
inline constexpr Id INTERFACE_COLORPROFILEGPU = "net.torvi.image.interface.colorprofilegpu";
inline constexpr Id REGISTRY_COLORPROFILEGPU = "net.torvi.image.registry.colorprofilegpu";
inline constexpr Id INTERFACE_COLORPROFILEGPUSHADERGENERATOR = "net.torvi.image.interface.colorprofilegpu.shadergenertator";
inline constexpr Id REGISTRY_COLORPROFILEGPUSHADERGENERATOR = "net.torvi.image.registry.colorprofilegpu.shadergenertator";
inline constexpr Id CLASS_LEGACYGPUHANDLER = "net.torvi.image.legacy.gpuhandler";
} // namespace ids

} // namespace torvi
