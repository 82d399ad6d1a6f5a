// Encoding of one JPEG picture with libjpeg.
#pragma once

#include "host/binaryreader.h"
#include "media_io/jpg_guard.h"

namespace torvi
{

struct JpgEncoderSettings
{
	Int _width;
	Int _height;
	Bool _isGrey;     ///< one component, else red, green and blue
	UInt16 _dpi;      ///< of both sides; 0 for unknown
	int _quality;     ///< 0 to 100
	Bool _isBaseline; ///< keeps quantisation tables to 8 bits
};

/// What a host stream is for the library.
struct JpgDestination
{
	jpeg_destination_mgr _manager = {}; ///< the first member: the library hands out its address
	BinaryWriter* _writer = nullptr;
	JpgGuard* _guard = nullptr;
	Byte* _buffer = nullptr; ///< the library's memory
};

/// The order of calls is Start, WriteRows until all rows were given, and Finish. After an error there is only the destructor.
class JpgEncoder
{
public:
	/// The most bytes that segments can hold a profile in.
	static constexpr Int LARGEST_PROFILE = 255 * 65519;

	explicit JpgEncoder(BinaryWriter& writer) noexcept;
	JpgEncoder(const JpgEncoder&) = delete;
	JpgEncoder& operator=(const JpgEncoder&) = delete;
	~JpgEncoder();

	/// Writes the headers, with the ICC profile if it is not empty.
	Result<void> Start(const JpgEncoderSettings& settings, Block<const Byte> profile);
	Result<void> WriteRows(Block<Byte*> rows);
	Result<void> Finish();

private:
	JpgGuard _guard;
	JpgDestination _destination;
	jpeg_compress_struct _library = {};
};

} // namespace torvi
