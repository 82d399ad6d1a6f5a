// Thumbnails by area averaging.
#include "tools/sheet_thumbnail.h"

#include <algorithm>
#include <cmath>

namespace torvi::tool
{

namespace
{

constexpr Int CHANNELS = 4;

/// The light of an sRGB value, 0 to 1 (IEC 61966-2-1).
Float DecodeSrgb(Float value)
{
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

std::size_t CountValues(const DrawDimensionInt& size)
{
	return static_cast<std::size_t>(size.width * size.height * CHANNELS);
}

} // namespace

AreaAverage::AreaAverage(const DrawDimensionInt& frame, const DrawDimensionInt& size, Values values)
	: _frame(frame), _size(size), _row(CountValues({size.width, 1})), _sums(CountValues(size))
{
	const auto decode = [values](Float value) { return static_cast<float>(values == Values::SRGB ? DecodeSrgb(value) : value); };
	for (int i = 0; i < 256; ++i)
	{
		_decoded.push_back(decode(i / 255.0));
		if (i < 255)
			_limits.push_back(decode((i + 0.5) / 255.0));
	}
	for (Int x = 0; x < frame.width; ++x)
		_columns.push_back(GetPlace(x, frame.width, size.width));
}

AreaAverage::Place AreaAverage::GetPlace(Int position, Int from, Int to)
{
	// In units of 1 / (from * to): the position covers `to` of them, a pixel of the thumbnail `from`.
	const Int first = position * to / from;
	const Int inFirst = std::min(to, (first + 1) * from - position * to);
	const auto share = [from](Int units) { return static_cast<float>(units) / static_cast<float>(from); };
	return {first, share(inFirst), share(to - inFirst)};
}

void AreaAverage::AddLine(Int y, Block<const Byte> line)
{
	std::ranges::fill(_row, 0.0F);
	for (Int x = 0; x < _frame.width; ++x)
	{
		const Byte* pixel = line.data() + x * CHANNELS;
		if (pixel[3] == 0)
			continue;
		const Place& place = _columns[static_cast<std::size_t>(x)];
		const float alpha = static_cast<float>(pixel[3]) / 255.0F;
		const float values[CHANNELS] = {alpha * _decoded[pixel[0]], alpha * _decoded[pixel[1]], alpha * _decoded[pixel[2]], alpha};
		float* target = _row.data() + place._first * CHANNELS;
		for (Int c = 0; c < CHANNELS; ++c)
			target[c] += values[c] * place._share;
		if (place._rest > 0.0F)
		{
			for (Int c = 0; c < CHANNELS; ++c)
				target[CHANNELS + c] += values[c] * place._rest;
		}
	}
	const Place place = GetPlace(y, _frame.height, _size.height);
	AddRow(place._first, place._share);
	if (place._rest > 0.0F)
		AddRow(place._first + 1, place._rest);
}

void AreaAverage::AddRow(Int y, float share)
{
	float* target = _sums.data() + y * _size.width * CHANNELS;
	for (std::size_t i = 0; i < _row.size(); ++i)
		target[i] += _row[i] * share;
}

Byte AreaAverage::Encode(float value) const
{
	return static_cast<Byte>(std::ranges::upper_bound(_limits, value) - _limits.begin());
}

Thumbnail AreaAverage::Finish() const
{
	Thumbnail thumbnail = {_size, Array<Byte>(_sums.size())};
	for (std::size_t i = 0; i < _sums.size(); i += CHANNELS)
	{
		const float alpha = std::min(_sums[i + 3], 1.0F);
		for (std::size_t c = 0; c < 3 && alpha > 0.0F; ++c)
			thumbnail._pixels[i + c] = Encode(_sums[i + c] / _sums[i + 3]);
		thumbnail._pixels[i + 3] = static_cast<Byte>(std::lround(alpha * 255.0F));
	}
	return thumbnail;
}

} // namespace torvi::tool
