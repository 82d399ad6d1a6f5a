// The library writes a function in the OpenGL shading language; its tables become textures, which travel as parameters.
#include "platform/ocio/ocio_gpu_impl.h"

#include "torvi/gfx_image_colorprofile_gpu.h"

namespace torvi
{

namespace
{

constexpr std::string_view LANGUAGE = "glsl";
constexpr Int32 RED_ONLY = 1;
constexpr Int32 RED_GREEN_BLUE = 3;

/// One texture, without its values.
struct Texture
{
	const char* _sampler = nullptr;
	Int32 _width = 1;
	Int32 _height = 1;
	Int32 _depth = 1;
	Int32 _channels = RED_GREEN_BLUE;
	ocio::Interpolation _interpolation = ocio::INTERP_LINEAR;
};

Result<DataDictionary> DescribeTexture(const Texture& texture, const float* values)
{
	const auto count = static_cast<std::size_t>(Int(texture._width) * texture._height * texture._depth * texture._channels);
	const Byte* const bytes = reinterpret_cast<const Byte*>(values);
	DataDictionary dictionary;
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_SAMPLER, MakeString(texture._sampler)));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_WIDTH, texture._width));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_HEIGHT, texture._height));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_DEPTH, texture._depth));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_CHANNELS, texture._channels));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_ISLINEAR, texture._interpolation != ocio::INTERP_NEAREST));
	TORVI_TRY(dictionary.Set(ids::COLORPROFILEGPU_VALUES, Array<Byte>(bytes, bytes + count * sizeof(float))));
	return dictionary;
}

class OcioShaderGeneratorImpl final : public ColorProfileGpuShaderGeneratorInterface
{
public:
	explicit OcioShaderGeneratorImpl(ocio::ConstGPUProcessorRcPtr processor) noexcept : _processor(std::move(processor)) {}

	String GetType() const override { return MakeString(LANGUAGE); }

	Result<void> Prepare() override
	{
		return CallOcio(
			[&]() -> Result<void>
			{
				const std::string_view identity = _processor->getCacheID();
				_name = Format("ocio@{x}", HashText(identity.data(), identity.size()));
				ocio::GpuShaderDescRcPtr shader = ocio::GpuShaderDesc::CreateShaderDesc();
				shader->setLanguage(ocio::GPU_LANGUAGE_GLSL_1_3);
				shader->setFunctionName(_name.c_str());
				shader->setResourcePrefix(_name.c_str());
				_processor->extractGpuShaderInfo(shader);
				TORVI_CHECK(shader->getNumUniforms() == 0, UnsupportedOperationError("The transform has properties that change."));
				_shader = std::move(shader);
				return OK;
			});
	}

	Result<String> GetProgramFacrorySpecification() const override
	{
		return CallOcio(
			[&]() -> Result<String>
			{
				TORVI_TRY(CheckPrepared());
				return Format("@ @", LANGUAGE, _processor->getCacheID());
			});
	}

	Result<void> AddFactoryCode(String& program) const override
	{
		return CallOcio(
			[&]() -> Result<void>
			{
				TORVI_TRY(CheckPrepared());
				program += _shader->getShaderText();
				return OK;
			});
	}

	Result<void> SetParameters(DataDictionary& parameters) const override
	{
		return CallOcio(
			[&]() -> Result<void>
			{
				TORVI_TRY(CheckPrepared());
				Array<DataDictionary> textures = TORVI_TRY(DescribeTextures());
				TORVI_TRY(parameters.Set(ids::COLORPROFILEGPU_FUNCTION, String(_name)));
				return parameters.Set(ids::COLORPROFILEGPU_TEXTURES, std::move(textures));
			});
	}

private:
	Result<void> CheckPrepared() const
	{
		TORVI_CHECK(_shader, IllegalStateError("The shader generator was not prepared."));
		return OK;
	}

	Result<Array<DataDictionary>> DescribeTextures() const
	{
		Array<DataDictionary> textures;
		for (unsigned i = 0; i < _shader->getNumTextures(); ++i)
			textures.push_back(TORVI_TRY(DescribePlane(i)));
		for (unsigned i = 0; i < _shader->getNum3DTextures(); ++i)
			textures.push_back(TORVI_TRY(DescribeCube(i)));
		return textures;
	}

	Result<DataDictionary> DescribePlane(unsigned index) const
	{
		Texture texture;
		const char* name = nullptr;
		const float* values = nullptr;
		unsigned width = 0;
		unsigned height = 0;
		ocio::GpuShaderCreator::TextureType type = ocio::GpuShaderCreator::TEXTURE_RGB_CHANNEL;
		_shader->getTexture(index, name, texture._sampler, width, height, type, texture._interpolation);
		_shader->getTextureValues(index, values);
		texture._width = static_cast<Int32>(width);
		texture._height = static_cast<Int32>(height);
		texture._channels = type == ocio::GpuShaderCreator::TEXTURE_RED_CHANNEL ? RED_ONLY : RED_GREEN_BLUE;
		return DescribeTexture(texture, values);
	}

	Result<DataDictionary> DescribeCube(unsigned index) const
	{
		Texture texture;
		const char* name = nullptr;
		const float* values = nullptr;
		unsigned edge = 0;
		_shader->get3DTexture(index, name, texture._sampler, edge, texture._interpolation);
		_shader->get3DTextureValues(index, values);
		texture._width = texture._height = texture._depth = static_cast<Int32>(edge);
		return DescribeTexture(texture, values);
	}

	ocio::ConstGPUProcessorRcPtr _processor;
	ocio::GpuShaderDescRcPtr _shader; ///< set by Prepare
	String _name;                     ///< of the function, and before the names of what it uses
};

class OcioGpuHandlerImpl final : public ColorProfileGpuInterface
{
public:
	explicit OcioGpuHandlerImpl(ocio::ConstGPUProcessorRcPtr processor) noexcept : _processor(std::move(processor)) {}

	Result<void> Init(const ColorProfileGpuSetup&) override { return IllegalStateError("The handler has its conversion already."); }
	Result<ColorProfileGpuShaderGeneratorRef> CreateShaderGenerator() override { return NewObject<OcioShaderGeneratorImpl>(_processor); }

private:
	ocio::ConstGPUProcessorRcPtr _processor;
};

class OcioGpuProcessorImpl final : public OcioProcessorInterface
{
public:
	explicit OcioGpuProcessorImpl(ColorProfileGpuRef handler) noexcept : _handler(std::move(handler)) {}

	Result<void> ConvertPixels(Float32*, Int, Int, UInt32) const override { return NoPixelsError(); }
	Result<void> ConvertPixels(UChar*, Int, Int, UInt32) const override { return NoPixelsError(); }
	Result<ColorProfileGpuRef> GetGpuHandler() const override { return ColorProfileGpuRef(_handler); }

private:
	static Error NoPixelsError() { return IllegalStateError("This processor converts on a graphics processor."); }

	ColorProfileGpuRef _handler;
};

} // namespace

Result<OcioProcessorRef> MakeOcioGpuProcessor(const ocio::Processor& transform)
{
	constexpr auto FLAGS = ocio::OptimizationFlags(ocio::OPTIMIZATION_DEFAULT | ocio::OPTIMIZATION_NO_DYNAMIC_PROPERTIES);
	return NewObject<OcioGpuProcessorImpl>(TORVI_TRY(NewObject<OcioGpuHandlerImpl>(transform.getOptimizedGPUProcessor(FLAGS))));
}

} // namespace torvi
