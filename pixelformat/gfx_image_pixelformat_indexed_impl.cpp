// Indexed formats. The colour table is kept twice: in its own format, and as floats, from which indices turn into colours. The floats lie
// in a record that conversion functions share, so that a function sees a later change of the table and outlives the format; it does not
// hold the format itself, which would then live in the memory of its destinations.
#include "pixelformat/gfx_image_pixelformat_indexed_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "pixelformat/kernel_indexed.h"
#include "pixelformat/kernel_values.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

struct IndexedRow
{
	std::string_view _name;
	CString _shortName;
	Int _bits;
};

constexpr std::array<IndexedRow, 9> ROWS = {{
	{"indexed.u1bit", "Indexed::u1bit", 1},
	{"indexed.u2bit", "Indexed::u2bit", 2},
	{"indexed.u3bit", "Indexed::u3bit", 3},
	{"indexed.u4bit", "Indexed::u4bit", 4},
	{"indexed.u5bit", "Indexed::u5bit", 5},
	{"indexed.u6bit", "Indexed::u6bit", 6},
	{"indexed.u7bit", "Indexed::u7bit", 7},
	{"indexed.u8bit", "Indexed::u8bit", 8},
	{"indexed.u16bit", "Indexed::u16bit", 16},
}};

/// The rows of a table as rgba.f32 and as rgba.u8.
class ColorRows final : public ObjectInterface
{
public:
	void Resize(Int count)
	{
		Array<Float32> floats(static_cast<std::size_t>(count) * CHANNELS);
		Array<Byte> bytes(floats.size());
		_floats = std::move(floats);
		_bytes = std::move(bytes);
		_count = count;
	}

	Byte* GetFloats(Int row) { return reinterpret_cast<Byte*>(&_floats[static_cast<std::size_t>(row) * CHANNELS]); }

	/// To be called when the floats of a row have changed.
	void UpdateBytes(Int row)
	{
		for (std::size_t i = static_cast<std::size_t>(row) * CHANNELS, end = i + CHANNELS; i < end; ++i)
			_bytes[i] = ConvertValue<UChar>(_floats[i]);
	}

	IndexTable GetTable() const { return {reinterpret_cast<const Byte*>(_floats.data()), _bytes.data(), _count}; }

private:
	static constexpr std::size_t CHANNELS = 4;
	Array<Float32> _floats;
	Array<Byte> _bytes;
	Int _count = 0;
};

/// What a function from indices to colours needs.
struct SharedIndexConversion
{
	IndexConversion _conversion;
	Ref<ColorRows> _rows;
};

class PixelFormatIndexedImpl final : public PixelFormatBaseImpl, public PixelFormatIndexedColorInterface
{
public:
	explicit PixelFormatIndexedImpl(const IndexedRow& row)
		: _shortName(row._shortName), _offsetValues{0, row._bits}, _offsets(_offsetValues)
	{
	}
	PixelFormatIndexedImpl(const PixelFormatIndexedImpl& other)
		: ObjectInterface(other), PixelFormatInterface(other), PixelFormatBaseImpl(other), PixelFormatIndexedColorInterface(other),
		  _shortName(other._shortName), _offsetValues(other._offsetValues), _offsets(_offsetValues), _tableFormat(other._tableFormat),
		  _floatFormat(other._floatFormat), _tableSize(other._tableSize), _table(other._table)
	{
	}

	/// Formats with tables of their own are made from the class, so that group and name are the class's matter.
	Result<void> InitObject() override
	{
		TORVI_TRY(Init(FindDeclared<PixelFormatGroupInterface>(ids::PIXELFORMATGROUP_INDEXED), _shortName));
		_tableFormat = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
		_floatFormat = GetPixelFormat(ids::PIXELFORMAT_RGBA_F32);
		TORVI_CHECK(_tableFormat && _floatFormat, NullptrError("The formats of colour tables are not registered."));
		_rows = TORVI_TRY(NewObject<ColorRows>());
		return OK;
	}

	Result<ObjectRef> CloneObject() const override
	{
		const Ref<PixelFormatIndexedImpl> copy = TORVI_TRY(NewObject<PixelFormatIndexedImpl>(*this));
		copy->_rows = TORVI_TRY(NewObject<ColorRows>(*_rows));
		if (GetClass() != nullptr)
			GetClass()->AdoptObject(*copy);
		return ObjectRef(copy);
	}

	Result<void> InitColorTable(Int count, const PixelFormat& format) override;
	PixelFormat GetColorTablePixelFormat() const override { return _tableFormat; }
	Int GetColorTableSize() const override { return _tableSize; }
	Result<void> SetIndex(Int index, const PixelBuffer& color) override;
	Result<void> GetIndex(Int index, const PixelBuffer& color) const override;

	String ToString(std::string_view) const override { return _tableSize > 0 ? Format("Indexed @", _tableSize) : MakeString("Indexed"); }
	Bool IsEqual(const ObjectInterface& other) const override;
	UInt64 GetHashCodeImpl() const override;
	std::pair<UInt64, UInt64> GetUniqueHashCodeImpl() const override { return {GetHashCodeImpl(), static_cast<UInt64>(GetBits())}; }
	Block<const ImageChannel> GetChannels() const override { return {}; }
	Int GetChannelCount() const override { return 1; }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	Bool HasAlpha() const override { return _tableFormat->HasAlpha(); }
	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override { return _tableFormat->GetAlphaPixelFormat(); }
	ColorSpace GetColorSpace() const override { return _tableFormat->GetColorSpace(); }
	ColorProfile GetDefaultColorProfile() const override { return _tableFormat->GetDefaultColorProfile(); }
	Bool IsIdenticalPixel(const PixelBuffer&, const PixelBuffer&, UChar) const override { return false; }
	String PixToString(const Byte*) const override { return String(); }
	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
													 const ChannelOffsets& dstOffsets, Bool fastLayout,
													 Bool& isColorConverted) const override;
	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool fastLayout,
												   Bool& isColorConverted) const override;

private:
	Int GetBits() const { return _offsetValues[1]; }
	Bool IsSame(const PixelFormat& format) const { return format == PixelFormat(const_cast<PixelFormatIndexedImpl*>(this)); }
	Result<void> CheckRow(Int index, const PixelBuffer& color) const;
	ConvertPixelFunc CopyOfIndices() const;

	CString _shortName;
	std::array<BITS, 2> _offsetValues;
	const ChannelOffsets _offsets;
	PixelFormat _tableFormat;
	PixelFormat _floatFormat;
	Int _tableSize = 0;
	Array<Byte> _table;
	Ref<ColorRows> _rows;
};

/// Converts one pixel into `row`, which is packed.
Result<void> ConvertColor(const PixelFormat& format, Byte* row, const PixelBuffer& color)
{
	return format->ConvertPixelFromSlow(PixelBuffer(row, format->GetBitsPerPixel()), 1, color, nullptr, nullptr, false, 0);
}

Result<void> PixelFormatIndexedImpl::InitColorTable(Int count, const PixelFormat& format)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("A colour table can not have @ rows.", count));
	TORVI_CHECK(format, IllegalArgumentError("A colour table needs a pixel format."));
	const Bool isIndexed = static_cast<Bool>(Cast<PixelFormatIndexedColorInterface>(format));
	TORVI_CHECK(!isIndexed && format->GetBitsPerPixel() % 8 == 0,
				IllegalArgumentError("@ can not be the format of a colour table.", format));
	return NoThrow(
		[&]() -> Result<void>
		{
			Array<Byte> table(static_cast<std::size_t>(format->GetBytesPerLine(count, 1)));
			_rows->Resize(count);
			_table = std::move(table);
			_tableFormat = format;
			_tableSize = count;
			return OK;
		});
}

Result<void> PixelFormatIndexedImpl::CheckRow(Int index, const PixelBuffer& color) const
{
	TORVI_CHECK(index >= 0 && index < _tableSize, IllegalArgumentError());
	TORVI_CHECK(color._format && color._format->IsEqual(*_tableFormat), IllegalArgumentError());
	return OK;
}

Result<void> PixelFormatIndexedImpl::SetIndex(Int index, const PixelBuffer& color)
{
	TORVI_TRY(CheckRow(index, color));
	TORVI_TRY(ConvertColor(_tableFormat, _table.data() + index * BytesOf(_tableFormat->GetBitsPerPixel()), color));
	TORVI_TRY(ConvertColor(_floatFormat, _rows->GetFloats(index), color));
	_rows->UpdateBytes(index);
	return OK;
}

Result<void> PixelFormatIndexedImpl::GetIndex(Int index, const PixelBuffer& color) const
{
	TORVI_TRY(CheckRow(index, color));
	const BITS bits = _tableFormat->GetBitsPerPixel();
	const PixelBuffer row(_table.data() + index * BytesOf(bits), bits, nullptr, _tableFormat);
	return _tableFormat->ConvertPixelFromSlow(color, 1, row, nullptr, nullptr, false, 0);
}

Bool PixelFormatIndexedImpl::IsEqual(const ObjectInterface& other) const
{
	const auto* const indexed = dynamic_cast<const PixelFormatIndexedImpl*>(&other);
	return indexed != nullptr && indexed->GetBits() == GetBits() && indexed->_tableSize == _tableSize &&
		   indexed->_tableFormat->IsEqual(*_tableFormat) && indexed->_table == _table;
}

UInt64 PixelFormatIndexedImpl::GetHashCodeImpl() const
{
	const UInt64 ofTable = HashText(reinterpret_cast<const char*>(_table.data()), _table.size());
	return CombineHash(CombineHash(MixHash(static_cast<UInt64>(GetBits())), _tableFormat->GetHashCodeImpl()), ofTable);
}

ConvertPixelFunc PixelFormatIndexedImpl::CopyOfIndices() const
{
	return [bits = GetBits()](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
	{
		CopyIndices({destination._pixel, 0, destination._stride, source._pixel, 0, source._stride, count}, bits);
		return OK;
	};
}

Result<ConvertPixelFunc> PixelFormatIndexedImpl::GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets&,
																		 const ChannelOffsets&, Bool fastLayout, Bool&) const
{
	return fastLayout && IsSame(srcFormat) ? CopyOfIndices() : ConvertPixelFunc();
}

Result<ConvertPixelFunc> PixelFormatIndexedImpl::GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
																	   const ChannelOffsets&, Bool fastLayout, Bool&) const
{
	if (fastLayout && IsSame(dstFormat))
		return CopyOfIndices();
	const std::optional<FixedFormat> target = FixedFormatOf(dstFormat);
	if (!target || _tableSize == 0)
		return ConvertPixelFunc();
	const std::optional<FixedPlaces> places = FixedPlaces::Make(*target, dstOffsets);
	TORVI_CHECK(places, IllegalArgumentError("The channel offsets do not fit @.", dstFormat));
	const std::optional<IndexConversion> conversion = IndexConversion::Make(*places, GetBits());
	if (!conversion)
		return ConvertPixelFunc();
	auto record = TORVI_TRY(NewObject<SharedRecord<SharedIndexConversion>>(SharedIndexConversion{*conversion, _rows}));
	return ConvertPixelFunc(
		[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			const IndexRun run = {destination._pixel, BytesOf(destination._stride), source._pixel, 0, source._stride, count};
			record->GetValue()._conversion.Run(run, record->GetValue()._rows->GetTable());
			return OK;
		});
}

constexpr auto COMPONENTS = MakeComponentTable<PixelFormatIndexedImpl, ROWS>();

} // namespace

Result<void> RegisterIndexedFormats(Module& module)
{
	for (std::size_t i = 0; i < ROWS.size(); ++i)
	{
		const FormatEntry entry = {ROWS[i]._name, ROWS[i]._shortName, ids::PIXELFORMATGROUP_INDEXED, ids::REGISTRY_INDEXED};
		TORVI_TRY(AddPixelFormat(module, entry, COMPONENTS[i]));
	}
	return OK;
}

} // namespace torvi
