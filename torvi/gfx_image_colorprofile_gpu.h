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
	/// Gives a program its values: the function's name and the textures that it reads, under the keys below.
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

// What SetParameters enters. String: the name of the function, which takes and gives a colour with alpha (vec4).
inline constexpr InternedId COLORPROFILEGPU_FUNCTION = "net.torvi.image.colorprofilegpu.function";
/// Array of DataDictionary: the textures, in the order in which the program declares them.
inline constexpr InternedId COLORPROFILEGPU_TEXTURES = "net.torvi.image.colorprofilegpu.textures";

// The keys of one texture. String: the name of its sampler in the program.
inline constexpr InternedId COLORPROFILEGPU_SAMPLER = "net.torvi.image.colorprofilegpu.texture.sampler";
// Int32: the size. A height of 1 makes it one-dimensional, a depth above 1 three-dimensional.
inline constexpr InternedId COLORPROFILEGPU_WIDTH = "net.torvi.image.colorprofilegpu.texture.width";
inline constexpr InternedId COLORPROFILEGPU_HEIGHT = "net.torvi.image.colorprofilegpu.texture.height";
inline constexpr InternedId COLORPROFILEGPU_DEPTH = "net.torvi.image.colorprofilegpu.texture.depth";
/// Int32: 1 for red alone, 3 for red, green and blue.
inline constexpr InternedId COLORPROFILEGPU_CHANNELS = "net.torvi.image.colorprofilegpu.texture.channels";
/// Bool: whether the sampler interpolates; coordinates stop at the edge.
inline constexpr InternedId COLORPROFILEGPU_ISLINEAR = "net.torvi.image.colorprofilegpu.texture.islinear";
/// Array of UChar: the values in float32 as the machine stores them, width first, then height, then depth.
inline constexpr InternedId COLORPROFILEGPU_VALUES = "net.torvi.image.colorprofilegpu.texture.values";
} // namespace ids

} // namespace torvi
