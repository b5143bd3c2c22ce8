// SPDX-License-Identifier: Apache-2.0
#include "ExifKeys.h"

namespace kelvane::detail {
namespace {

constexpr ExifKey tiffKeys[] = {{0x0103, "Compression"}, {0x0106, "PhotometricInterpretation"},
    {0x010d, "DocumentName"}, {0x010e, "ImageDescription"}, {0x010f, "Make"}, {0x0110, "Model"},
    {0x0112, "Orientation"}, {0x011a, "XResolution"}, {0x011b, "YResolution"}, {0x0128, "ResolutionUnit"},
    {0x0131, "Software"}, {0x0132, "DateTime"}, {0x013b, "Artist"}, {0x013c, "HostComputer"}, {0x013e, "WhitePoint"},
    {0x013f, "PrimaryChromaticities"}, {0x8298, "Copyright"}};

constexpr ExifKey exifOnlyKeys[] = {{0x829a, "ExposureTime"}, {0x829d, "FNumber"}, {0x8822, "ExposureProgram"},
    {0x8824, "SpectralSensitivity"}, {0x8827, "ISOSpeedRatings", ExifForm::List}, {0x8828, "OECF"},
    {0x8830, "SensitivityType"}, {0x8831, "StandardOutputSensitivity"}, {0x8832, "RecommendedExposureIndex"},
    {0x8833, "ISOSpeed"}, {0x9000, "ExifVersion", ExifForm::Digits}, {0x9003, "DateTimeOriginal"},
    {0x9004, "DateTimeDigitized"}, {0x9010, "OffsetTime"}, {0x9011, "OffsetTimeOriginal"},
    {0x9012, "OffsetTimeDigitized"}, {0x9101, "ComponentsConfiguration", ExifForm::List},
    {0x9102, "CompressedBitsPerPixel"}, {0x9201, "ShutterSpeedValue"}, {0x9202, "ApertureValue"},
    {0x9203, "BrightnessValue"}, {0x9204, "ExposureBiasValue"}, {0x9205, "MaxApertureValue"},
    {0x9206, "SubjectDistance"}, {0x9207, "MeteringMode"}, {0x9208, "LightSource"}, {0x9209, "Flash"},
    {0x920a, "FocalLength"}, {0x9214, "SubjectArea", ExifForm::List}, {0x9286, "UserComment", ExifForm::Text},
    {0x9290, "SubsecTime"}, {0x9291, "SubsecTimeOriginal"}, {0x9292, "SubsecTimeDigitized"},
    {0xa000, "FlashPixVersion", ExifForm::Digits}, {0xa001, "ColorSpace"}, {0xa002, "PixelXDimension"},
    {0xa003, "PixelYDimension"}, {0xa004, "RelatedSoundFile"}, {0xa20b, "FlashEnergy"},
    {0xa20c, "SpatialFrequencyResponse"}, {0xa20e, "FocalPlaneXResolution"}, {0xa20f, "FocalPlaneYResolution"},
    {0xa210, "FocalPlaneResolutionUnit"}, {0xa214, "SubjectLocation", ExifForm::List}, {0xa215, "ExposureIndex"},
    {0xa217, "SensingMethod"}, {0xa300, "FileSource"}, {0xa301, "SceneType"}, {0xa302, "CFAPattern"},
    {0xa401, "CustomRendered"}, {0xa402, "ExposureMode"}, {0xa403, "WhiteBalance"}, {0xa404, "DigitalZoomRatio"},
    {0xa405, "FocalLenIn35mmFilm"}, {0xa406, "SceneCaptureType"}, {0xa407, "GainControl"}, {0xa408, "Contrast"},
    {0xa409, "Saturation"}, {0xa40a, "Sharpness"}, {0xa40b, "DeviceSettingDescription"}, {0xa40c, "SubjectDistRange"},
    {0xa420, "ImageUniqueID"}, {0xa430, "CameraOwnerName"}, {0xa431, "BodySerialNumber"}, {0xa432, "LensSpecification"},
    {0xa433, "LensMake"}, {0xa434, "LensModel"}, {0xa435, "LensSerialNumber"}, {0xa460, "CompositeImage"},
    {0xa500, "Gamma"}};

constexpr ExifKey gpsKeys[] = {{0x00, "GPSVersion", ExifForm::List}, {0x01, "LatitudeRef"},
    {0x02, "Latitude", ExifForm::Angle}, {0x03, "LongitudeRef"}, {0x04, "Longitude", ExifForm::Angle},
    {0x05, "AltitudeRef"}, {0x06, "Altitude"}, {0x07, "TimeStamp", ExifForm::Time}, {0x08, "Satellites"},
    {0x09, "Status"}, {0x0a, "MeasureMode"}, {0x0b, "DOP"}, {0x0c, "SpeedRef"}, {0x0d, "Speed"}, {0x0e, "TrackRef"},
    {0x0f, "Track"}, {0x10, "ImgDirectionRef"}, {0x11, "ImgDirection"}, {0x12, "MapDatum"}, {0x13, "DestLatitudeRef"},
    {0x14, "DestLatitude", ExifForm::Angle}, {0x15, "DestLongitudeRef"}, {0x16, "DestLongitude", ExifForm::Angle},
    {0x17, "DestBearingRef"}, {0x18, "DestBearing"}, {0x19, "DestDistanceRef"}, {0x1a, "DestDistance"},
    {0x1b, "ProcessingMethod", ExifForm::Text}, {0x1c, "AreaInformation", ExifForm::Text}, {0x1d, "DateStamp"},
    {0x1e, "Differental"}, {0x1f, "HPositioningError"}};

} // namespace

std::span<const ExifKey> exifKeys(ExifList list) noexcept
{
    switch (list) {
    case ExifList::Tiff:
        return tiffKeys;
    case ExifList::Exif:
        return exifOnlyKeys;
    case ExifList::Gps:
        return gpsKeys;
    }
    return {};
}

const ExifKey *findExifKey(ExifList list, std::uint32_t tag) noexcept
{
    for (const ExifKey &key : exifKeys(list))
        if (key.tag == tag)
            return &key;
    return nullptr;
}

} // namespace kelvane::detail
