// Ids of all pixel formats, their groups and registries, and of the channel types. They are persistent: stored images name their format by
// its id.
#pragma once

#include "host/id.h"

namespace torvi::ids
{

// The fixed formats: family and data type.
inline constexpr Id PIXELFORMAT_RGB_U8 = "net.torvi.image.pixelformat.rgb.u8";
inline constexpr Id PIXELFORMAT_RGB_U16 = "net.torvi.image.pixelformat.rgb.u16";
inline constexpr Id PIXELFORMAT_RGB_U32 = "net.torvi.image.pixelformat.rgb.u32";
inline constexpr Id PIXELFORMAT_RGB_S32 = "net.torvi.image.pixelformat.rgb.s32";
inline constexpr Id PIXELFORMAT_RGB_F16 = "net.torvi.image.pixelformat.rgb.f16";
inline constexpr Id PIXELFORMAT_RGB_F32 = "net.torvi.image.pixelformat.rgb.f32";
inline constexpr Id PIXELFORMAT_RGB_F64 = "net.torvi.image.pixelformat.rgb.f64";
inline constexpr Id PIXELFORMAT_RGBA_U8 = "net.torvi.image.pixelformat.rgba.u8";
inline constexpr Id PIXELFORMAT_RGBA_U16 = "net.torvi.image.pixelformat.rgba.u16";
inline constexpr Id PIXELFORMAT_RGBA_F16 = "net.torvi.image.pixelformat.rgba.f16";
inline constexpr Id PIXELFORMAT_RGBA_U32 = "net.torvi.image.pixelformat.rgba.u32";
inline constexpr Id PIXELFORMAT_RGBA_S32 = "net.torvi.image.pixelformat.rgba.s32";
inline constexpr Id PIXELFORMAT_RGBA_F32 = "net.torvi.image.pixelformat.rgba.f32";
inline constexpr Id PIXELFORMAT_RGBA_F64 = "net.torvi.image.pixelformat.rgba.f64";
inline constexpr Id PIXELFORMAT_ARGB_U8 = "net.torvi.image.pixelformat.argb.u8";
inline constexpr Id PIXELFORMAT_ARGB_U16 = "net.torvi.image.pixelformat.argb.u16";
inline constexpr Id PIXELFORMAT_ARGB_F32 = "net.torvi.image.pixelformat.argb.f32";
inline constexpr Id PIXELFORMAT_ARGB_F64 = "net.torvi.image.pixelformat.argb.f64";
inline constexpr Id PIXELFORMAT_XRGB_U8 = "net.torvi.image.pixelformat.xrgb.u8";
inline constexpr Id PIXELFORMAT_RGBX_U8 = "net.torvi.image.pixelformat.rgbx.u8";
inline constexpr Id PIXELFORMAT_BGR_U8 = "net.torvi.image.pixelformat.bgr.u8";
inline constexpr Id PIXELFORMAT_BGR_U16 = "net.torvi.image.pixelformat.bgr.u16";
inline constexpr Id PIXELFORMAT_BGR_F32 = "net.torvi.image.pixelformat.bgr.f32";
inline constexpr Id PIXELFORMAT_BGRA_U8 = "net.torvi.image.pixelformat.bgra.u8";
inline constexpr Id PIXELFORMAT_BGRA_U16 = "net.torvi.image.pixelformat.bgra.u16";
inline constexpr Id PIXELFORMAT_BGRA_F16 = "net.torvi.image.pixelformat.bgra.f16";
inline constexpr Id PIXELFORMAT_BGRA_F32 = "net.torvi.image.pixelformat.bgra.f32";
inline constexpr Id PIXELFORMAT_BGRX_U8 = "net.torvi.image.pixelformat.bgrx.u8";
inline constexpr Id PIXELFORMAT_ABGR_U8 = "net.torvi.image.pixelformat.abgr.u8";
inline constexpr Id PIXELFORMAT_ABGR_F32 = "net.torvi.image.pixelformat.abgr.f32";
inline constexpr Id PIXELFORMAT_GREY_U8 = "net.torvi.image.pixelformat.grey.u8";
inline constexpr Id PIXELFORMAT_GREY_U16 = "net.torvi.image.pixelformat.grey.u16";
inline constexpr Id PIXELFORMAT_GREY_F16 = "net.torvi.image.pixelformat.grey.f16";
inline constexpr Id PIXELFORMAT_GREY_F32 = "net.torvi.image.pixelformat.grey.f32";
inline constexpr Id PIXELFORMAT_GREY_F64 = "net.torvi.image.pixelformat.grey.f64";
inline constexpr Id PIXELFORMAT_GREYA_U8 = "net.torvi.image.pixelformat.greya.u8";
inline constexpr Id PIXELFORMAT_GREYA_U16 = "net.torvi.image.pixelformat.greya.u16";
inline constexpr Id PIXELFORMAT_GREYA_F16 = "net.torvi.image.pixelformat.greya.f16";
inline constexpr Id PIXELFORMAT_GREYA_F32 = "net.torvi.image.pixelformat.greya.f32";
inline constexpr Id PIXELFORMAT_GREYA_F64 = "net.torvi.image.pixelformat.greya.f64";
inline constexpr Id PIXELFORMAT_AGREY_U8 = "net.torvi.image.pixelformat.agrey.u8";
inline constexpr Id PIXELFORMAT_AGREY_U16 = "net.torvi.image.pixelformat.agrey.u16";
inline constexpr Id PIXELFORMAT_AGREY_F16 = "net.torvi.image.pixelformat.agrey.f16";
inline constexpr Id PIXELFORMAT_AGREY_F32 = "net.torvi.image.pixelformat.agrey.f32";
inline constexpr Id PIXELFORMAT_AGREY_F64 = "net.torvi.image.pixelformat.agrey.f64";
inline constexpr Id PIXELFORMAT_ALPHA_U8 = "net.torvi.image.pixelformat.alpha.u8";
inline constexpr Id PIXELFORMAT_ALPHA_U16 = "net.torvi.image.pixelformat.alpha.u16";
inline constexpr Id PIXELFORMAT_ALPHA_F32 = "net.torvi.image.pixelformat.alpha.f32";
inline constexpr Id PIXELFORMAT_ALPHA_F64 = "net.torvi.image.pixelformat.alpha.f64";
inline constexpr Id PIXELFORMAT_ALPHA_F16 = "net.torvi.image.pixelformat.alpha.f16";

// CMYK, without and with alpha in front; inverted, 0 is full ink. Without a profile, RGB becomes inks with the most black and no colour
// beside it in black; an unused channel of RGB is written like alpha.
inline constexpr Id PIXELFORMAT_CMYK_U8 = "net.torvi.image.pixelformat.cmyk.u8";
inline constexpr Id PIXELFORMAT_CMYK_U16 = "net.torvi.image.pixelformat.cmyk.u16";
inline constexpr Id PIXELFORMAT_CMYK_F32 = "net.torvi.image.pixelformat.cmyk.f32";
inline constexpr Id PIXELFORMAT_ACMYK_U8 = "net.torvi.image.pixelformat.acmyk.u8";
inline constexpr Id PIXELFORMAT_ACMYK_U16 = "net.torvi.image.pixelformat.acmyk.u16";
inline constexpr Id PIXELFORMAT_ACMYK_F32 = "net.torvi.image.pixelformat.acmyk.f32";
inline constexpr Id PIXELFORMAT_CMYK_INV_U8 = "net.torvi.image.pixelformat.cmyk_inv.u8";
inline constexpr Id PIXELFORMAT_CMYK_INV_U16 = "net.torvi.image.pixelformat.cmyk_inv.u16";
inline constexpr Id PIXELFORMAT_CMYK_INV_F32 = "net.torvi.image.pixelformat.cmyk_inv.f32";
inline constexpr Id PIXELFORMAT_ACMYK_INV_U8 = "net.torvi.image.pixelformat.acmyk_inv.u8";
inline constexpr Id PIXELFORMAT_ACMYK_INV_U16 = "net.torvi.image.pixelformat.acmyk_inv.u16";
inline constexpr Id PIXELFORMAT_ACMYK_INV_F32 = "net.torvi.image.pixelformat.acmyk_inv.f32";

// Packed in 16 bits, and a shared exponent.
inline constexpr Id PIXELFORMAT_RGB_U565 = "net.torvi.image.pixelformat.rgb.u565";
inline constexpr Id PIXELFORMAT_RGB_U555 = "net.torvi.image.pixelformat.rgb.u555";
inline constexpr Id PIXELFORMAT_RGB_U444 = "net.torvi.image.pixelformat.rgb.u444";
inline constexpr Id PIXELFORMAT_ARGB_U1555 = "net.torvi.image.pixelformat.argb.u1555";
inline constexpr Id PIXELFORMAT_ARGB_U4444 = "net.torvi.image.pixelformat.argb.u4444";
inline constexpr Id PIXELFORMAT_BGR_U565 = "net.torvi.image.pixelformat.bgr.u565";
inline constexpr Id PIXELFORMAT_BGR_U555 = "net.torvi.image.pixelformat.bgr.u555";
inline constexpr Id PIXELFORMAT_BGR_U444 = "net.torvi.image.pixelformat.bgr.u444";
inline constexpr Id PIXELFORMAT_ABGR_U1555 = "net.torvi.image.pixelformat.abgr.u1555";
inline constexpr Id PIXELFORMAT_ABGR_U4444 = "net.torvi.image.pixelformat.abgr.u4444";
inline constexpr Id PIXELFORMAT_RGB_RGBE = "net.torvi.image.pixelformat.rgb.rgbe";

// Pairs of pixels that share their chroma.
inline constexpr Id PIXELFORMAT_YUV_I422A = "net.torvi.image.pixelformat.yuv.i422a";
inline constexpr Id PIXELFORMAT_YUV_I422B = "net.torvi.image.pixelformat.yuv.i422b";

// Indices into a colour table.
inline constexpr Id PIXELFORMAT_INDEXED_U1BIT = "net.torvi.image.pixelformat.indexed.u1bit";
inline constexpr Id PIXELFORMAT_INDEXED_U2BIT = "net.torvi.image.pixelformat.indexed.u2bit";
inline constexpr Id PIXELFORMAT_INDEXED_U3BIT = "net.torvi.image.pixelformat.indexed.u3bit";
inline constexpr Id PIXELFORMAT_INDEXED_U4BIT = "net.torvi.image.pixelformat.indexed.u4bit";
inline constexpr Id PIXELFORMAT_INDEXED_U5BIT = "net.torvi.image.pixelformat.indexed.u5bit";
inline constexpr Id PIXELFORMAT_INDEXED_U6BIT = "net.torvi.image.pixelformat.indexed.u6bit";
inline constexpr Id PIXELFORMAT_INDEXED_U7BIT = "net.torvi.image.pixelformat.indexed.u7bit";
inline constexpr Id PIXELFORMAT_INDEXED_U8BIT = "net.torvi.image.pixelformat.indexed.u8bit";
inline constexpr Id PIXELFORMAT_INDEXED_U16BIT = "net.torvi.image.pixelformat.indexed.u16bit";

// The declared lists of channels.
inline constexpr Id PIXELFORMAT_DYNAMIC_REDU8 = "net.torvi.image.pixelformat.dynamic.redu8";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDS8 = "net.torvi.image.pixelformat.dynamic.reds8";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDU16 = "net.torvi.image.pixelformat.dynamic.redu16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDS16 = "net.torvi.image.pixelformat.dynamic.reds16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDU32 = "net.torvi.image.pixelformat.dynamic.redu32";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDS32 = "net.torvi.image.pixelformat.dynamic.reds32";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDF16 = "net.torvi.image.pixelformat.dynamic.redf16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDF32 = "net.torvi.image.pixelformat.dynamic.redf32";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENU8 = "net.torvi.image.pixelformat.dynamic.redgreenu8";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENS8 = "net.torvi.image.pixelformat.dynamic.redgreens8";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENU16 = "net.torvi.image.pixelformat.dynamic.redgreenu16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENS16 = "net.torvi.image.pixelformat.dynamic.redgreens16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENU32 = "net.torvi.image.pixelformat.dynamic.redgreenu32";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENS32 = "net.torvi.image.pixelformat.dynamic.redgreens32";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENF16 = "net.torvi.image.pixelformat.dynamic.redgreenf16";
inline constexpr Id PIXELFORMAT_DYNAMIC_REDGREENF32 = "net.torvi.image.pixelformat.dynamic.redgreenf32";

// The groups, and the registries that hold their members.
inline constexpr Id PIXELFORMATGROUP_RGB = "net.torvi.image.pixelformat.rgbgroup";
inline constexpr Id PIXELFORMATGROUP_RGBA = "net.torvi.image.pixelformat.rgbagroup";
inline constexpr Id PIXELFORMATGROUP_ARGB = "net.torvi.image.pixelformat.argbgroup";
inline constexpr Id PIXELFORMATGROUP_RGBX = "net.torvi.image.pixelformat.rgbxgroup";
inline constexpr Id PIXELFORMATGROUP_XRGB = "net.torvi.image.pixelformat.xrgbgroup";
inline constexpr Id PIXELFORMATGROUP_BGR = "net.torvi.image.pixelformat.bgrgroup";
inline constexpr Id PIXELFORMATGROUP_BGRA = "net.torvi.image.pixelformat.bgragroup";
inline constexpr Id PIXELFORMATGROUP_BGRX = "net.torvi.image.pixelformat.bgrxgroup";
inline constexpr Id PIXELFORMATGROUP_ABGR = "net.torvi.image.pixelformat.abgrgroup";
inline constexpr Id PIXELFORMATGROUP_ALPHA = "net.torvi.image.pixelformat.alphagroup";
inline constexpr Id PIXELFORMATGROUP_GREY = "net.torvi.image.pixelformat.greygroup";
inline constexpr Id PIXELFORMATGROUP_AGREY = "net.torvi.image.pixelformat.agreygroup";
inline constexpr Id PIXELFORMATGROUP_GREYA = "net.torvi.image.pixelformat.greyagroup";
inline constexpr Id PIXELFORMATGROUP_CMYK = "net.torvi.image.pixelformat.cmykgroup";
inline constexpr Id PIXELFORMATGROUP_ACMYK = "net.torvi.image.pixelformat.acmykgroup";
inline constexpr Id PIXELFORMATGROUP_CMYK_INV = "net.torvi.image.pixelformat.cmyk_invgroup";
inline constexpr Id PIXELFORMATGROUP_ACMYK_INV = "net.torvi.image.pixelformat.acmyk_invgroup";
inline constexpr Id PIXELFORMATGROUP_YUV = "net.torvi.image.pixelformat.yuvgroup";
inline constexpr Id PIXELFORMATGROUP_INDEXED = "net.torvi.image.pixelformat.indexedgroup";
inline constexpr Id PIXELFORMATGROUP_DYNAMIC = "net.torvi.image.pixelformat.dynamicgroup";

inline constexpr Id REGISTRY_RGB = "net.torvi.image.registry.rgb";
inline constexpr Id REGISTRY_RGBA = "net.torvi.image.registry.rgba";
inline constexpr Id REGISTRY_ARGB = "net.torvi.image.registry.argb";
inline constexpr Id REGISTRY_RGBX = "net.torvi.image.registry.rgbx";
inline constexpr Id REGISTRY_XRGB = "net.torvi.image.registry.xrgb";
inline constexpr Id REGISTRY_BGR = "net.torvi.image.registry.bgr";
inline constexpr Id REGISTRY_BGRA = "net.torvi.image.registry.bgra";
inline constexpr Id REGISTRY_BGRX = "net.torvi.image.registry.bgrx";
inline constexpr Id REGISTRY_ABGR = "net.torvi.image.registry.abgr";
inline constexpr Id REGISTRY_ALPHA = "net.torvi.image.registry.alpha";
inline constexpr Id REGISTRY_GREY = "net.torvi.image.registry.grey";
inline constexpr Id REGISTRY_AGREY = "net.torvi.image.registry.agrey";
inline constexpr Id REGISTRY_GREYA = "net.torvi.image.registry.greya";
inline constexpr Id REGISTRY_CMYK = "net.torvi.image.registry.cmyk";
inline constexpr Id REGISTRY_ACMYK = "net.torvi.image.registry.acmyk";
inline constexpr Id REGISTRY_CMYK_INV = "net.torvi.image.registry.cmyk_inv";
inline constexpr Id REGISTRY_ACMYK_INV = "net.torvi.image.registry.acmyk_inv";
inline constexpr Id REGISTRY_YUV = "net.torvi.image.registry.yuv";
inline constexpr Id REGISTRY_INDEXED = "net.torvi.image.registry.indexed";

// What the number of a channel means.
inline constexpr Id IMAGECHANNELTYPE_RED = "net.torvi.image.imagechanneltype.red";
inline constexpr Id IMAGECHANNELTYPE_GREEN = "net.torvi.image.imagechanneltype.green";
inline constexpr Id IMAGECHANNELTYPE_BLUE = "net.torvi.image.imagechanneltype.blue";
inline constexpr Id IMAGECHANNELTYPE_ALPHA = "net.torvi.image.imagechanneltype.alpha";
inline constexpr Id IMAGECHANNELTYPE_GREY = "net.torvi.image.imagechanneltype.grey";
inline constexpr Id IMAGECHANNELTYPE_UNKNOWN = "net.torvi.image.imagechanneltype.unknown";
inline constexpr Id IMAGECHANNELTYPE_UNUSED = "net.torvi.image.imagechanneltype.unused";
inline constexpr Id IMAGECHANNELTYPE_CMYK_C = "net.torvi.image.imagechanneltype.cmyk_c";
inline constexpr Id IMAGECHANNELTYPE_CMYK_M = "net.torvi.image.imagechanneltype.cmyk_m";
inline constexpr Id IMAGECHANNELTYPE_CMYK_Y = "net.torvi.image.imagechanneltype.cmyk_y";
inline constexpr Id IMAGECHANNELTYPE_CMYK_K = "net.torvi.image.imagechanneltype.cmyk_k";
inline constexpr Id IMAGECHANNELTYPE_CMYK_IC = "net.torvi.image.imagechanneltype.cmyk_ic";
inline constexpr Id IMAGECHANNELTYPE_CMYK_IM = "net.torvi.image.imagechanneltype.cmyk_im";
inline constexpr Id IMAGECHANNELTYPE_CMYK_IY = "net.torvi.image.imagechanneltype.cmyk_iy";
inline constexpr Id IMAGECHANNELTYPE_CMYK_IK = "net.torvi.image.imagechanneltype.cmyk_ik";
inline constexpr Id IMAGECHANNELTYPE_DEPTH = "net.torvi.image.imagechanneltype.depth";
inline constexpr Id IMAGECHANNELTYPE_DEPTHBACK = "net.torvi.image.imagechanneltype.depthback";
inline constexpr Id IMAGECHANNELTYPE_MATERIALID = "net.torvi.image.imagechanneltype.materialid";
inline constexpr Id IMAGECHANNELTYPE_NODEID = "net.torvi.image.imagechanneltype.nodeid";
inline constexpr Id IMAGECHANNELTYPE_UVU = "net.torvi.image.imagechanneltype.uvu";
inline constexpr Id IMAGECHANNELTYPE_UVV = "net.torvi.image.imagechanneltype.uvv";
inline constexpr Id IMAGECHANNELTYPE_NORMAL = "net.torvi.image.imagechanneltype.normal";
inline constexpr Id IMAGECHANNELTYPE_REALPIX = "net.torvi.image.imagechanneltype.realpix";
inline constexpr Id IMAGECHANNELTYPE_COVERAGE = "net.torvi.image.imagechanneltype.coverage";
inline constexpr Id IMAGECHANNELTYPE_BG = "net.torvi.image.imagechanneltype.bg";
inline constexpr Id IMAGECHANNELTYPE_NODERENDERID = "net.torvi.image.imagechanneltype.noderenderid";
inline constexpr Id IMAGECHANNELTYPE_TRANSPARENCY = "net.torvi.image.imagechanneltype.transparency";
inline constexpr Id IMAGECHANNELTYPE_VELOCITY = "net.torvi.image.imagechanneltype.velocity";
inline constexpr Id IMAGECHANNELTYPE_WEIGHT = "net.torvi.image.imagechanneltype.weight";
inline constexpr Id IMAGECHANNELTYPE_MASK = "net.torvi.image.imagechanneltype.mask";

} // namespace torvi::ids
