// JPEG files in segments, whose lengths fit.
#include "fuzz/mutation.h"

namespace torvi::fuzz
{

namespace
{

constexpr Byte MARK = 0xFF;
constexpr Byte FIRST_RESTART = 0xD0;
constexpr Byte LAST_RESTART = 0xD7;
constexpr Byte START = 0xD8;
constexpr Byte END = 0xD9;
constexpr Byte TEMPORARY = 0x01;
constexpr std::size_t LENGTH_SIZE = 2; // which the length counts too
constexpr std::size_t LARGEST_DATA = 0xFFFF - LENGTH_SIZE;

Bool IsRestart(Byte marker)
{
	return marker >= FIRST_RESTART && marker <= LAST_RESTART;
}

struct Segment
{
	Byte _marker = 0;
	Bytes _data;
	Bytes _scan; ///< what lies in front of the next marker: coded samples, or fill bytes

	Bool HasLength() const { return _marker != START && _marker != END && _marker != TEMPORARY; }
};

class JpegFile final : public TakenApart
{
public:
	explicit JpegFile(Block<const Byte> file);
	void Change(Dice& dice) override;
	Bytes PutTogether() const override;

private:
	std::vector<Segment> _segments;
};

/// Bytes in front of the next marker that begins a segment.
std::size_t FindMarker(Block<const Byte> bytes)
{
	for (std::size_t i = 0; i + 1 < bytes.size(); ++i)
	{
		const Byte marker = bytes[i + 1];
		if (bytes[i] == MARK && marker != 0 && marker != MARK && !IsRestart(marker))
			return i;
	}
	return bytes.size();
}

JpegFile::JpegFile(Block<const Byte> file)
{
	while (file.size() >= 2)
	{
		Cutter cutter(file);
		cutter.Cut(1);
		Segment segment;
		segment._marker = static_cast<Byte>(cutter.CutNumber(1));
		if (segment.HasLength())
		{
			const UInt64 length = cutter.CutNumber(LENGTH_SIZE);
			segment._data = cutter.CutBytes(length > LENGTH_SIZE ? length - LENGTH_SIZE : 0);
		}
		file = file.last(cutter.GetRemaining());
		segment._scan = cutter.CutBytes(FindMarker(file));
		file = file.last(cutter.GetRemaining());
		_segments.push_back(std::move(segment));
	}
}

void JpegFile::Change(Dice& dice)
{
	if (dice.OneIn(6))
		return MutateOrder(_segments, dice);
	Segment& segment = _segments[dice.Below(_segments.size())];
	const Bool isScan = !segment.HasLength() || (!segment._scan.empty() && dice.OneIn(2));
	MutateBytes(isScan ? segment._scan : segment._data);
	if (segment._data.size() > LARGEST_DATA)
		segment._data.resize(LARGEST_DATA);
}

Bytes JpegFile::PutTogether() const
{
	Joiner file;
	for (const Segment& segment : _segments)
	{
		file.AppendNumber(MARK, 1);
		file.AppendNumber(segment._marker, 1);
		if (segment.HasLength())
			file.AppendNumber(segment._data.size() + LENGTH_SIZE, LENGTH_SIZE);
		file.Append(segment._data);
		file.Append(segment._scan);
	}
	return file.GetBytes();
}

} // namespace

TakenApartPointer TakeApartJpeg(Block<const Byte> file)
{
	return Cutter(file).BeginsWith("\xFF\xD8\xFF") ? std::make_unique<JpegFile>(file) : nullptr;
}

} // namespace torvi::fuzz
