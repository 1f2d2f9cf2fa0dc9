#pragma once

#include <cstddef>
#include <cstdint>

// Basic types and error codes of the host's plug-in interface. The interface is C: names live in the global
// namespace, enumerations are plain 32-bit integers, no record is packed.

using A_long = std::int32_t;
using A_u_long = std::uint32_t;
using A_short = std::int16_t;
using A_u_short = std::uint16_t;
using A_char = char;
using A_u_char = std::uint8_t;
using A_Boolean = std::uint8_t;
using A_Err = std::int32_t;
using A_Fixed = A_long; // 16.16
using A_FpLong = double;
using A_FpShort = float;
using A_UTF16Char = std::uint16_t;
using A_intptr_t = std::intptr_t;
using A_HandleSize = std::uint64_t;
using A_Handle = void*;
using A_AppID = A_long;

struct A_Time { // seconds = value / scale
    A_long value;
    A_u_long scale;
};
struct A_Ratio {
    A_long num;
    A_u_long den;
};
struct A_FloatPoint {
    A_FpLong x, y;
};
struct A_FloatPoint3 {
    A_FpLong x, y, z;
};
struct A_FloatRect {
    A_FpLong left, top, right, bottom;
};
struct A_LRect {
    A_long left, top, right, bottom;
};
using A_Rect = A_LRect;
struct A_LPoint {
    A_long x, y;
};
// Row vectors: the translation stands in the last row.
struct A_Matrix3 {
    A_FpLong mat[3][3];
};
struct A_Matrix4 {
    A_FpLong mat[4][4];
};

using PF_Boolean = A_char;
using PF_Err = A_Err;
using PF_Fixed = A_Fixed;
using PF_UFixed = A_u_long;
using PF_FpLong = A_FpLong;
using PF_FpShort = A_FpShort;
using PF_ParamIndex = A_long;
using PF_Handle = void**;
using PF_ConstHandle = const void* const*;
using PF_ArbitraryH = PF_Handle;
struct PF_ProgressInfo;
using PF_ProgPtr = PF_ProgressInfo*;

struct PF_Point { // h is x
    A_long h, v;
};
struct PF_LRect { // right and bottom lie outside
    A_long left, top, right, bottom;
};
using PF_Rect = PF_LRect;
using PF_UnionableRect = PF_LRect;
struct PF_FixedPoint {
    PF_Fixed x, y;
};
struct PF_RationalScale {
    A_long num;
    A_u_long den;
};
struct PF_SpecVersion {
    A_short major, minor;
};

struct PF_Pixel {
    A_u_char alpha, red, green, blue;
};
using PF_Pixel8 = PF_Pixel;
struct PF_Pixel16 { // 0 to PF_MAX_CHAN16
    A_u_short alpha, red, green, blue;
};
struct PF_PixelFloat {
    PF_FpShort alpha, red, green, blue;
};
using PF_Pixel32 = PF_PixelFloat;
enum : A_long { PF_MAX_CHAN8 = 255, PF_MAX_CHAN16 = 32768 };

struct PF_SoundWorld {
    double rate;
    A_short channels, format, sampleSize;
    A_long sampleCount;
    void* samples;
};

enum : PF_Err {
    PF_Err_NONE = 0,
    PF_Err_OUT_OF_MEMORY = 4,
    PF_Err_INTERNAL_STRUCT_DAMAGED = 512,
    PF_Err_INVALID_INDEX = 513,
    PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
    PF_Err_INVALID_CALLBACK = 515,
    PF_Err_BAD_CALLBACK_PARAM = 516,
    PF_Interrupt_CANCEL = 517,
    PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518,
};
enum : A_Err {
    A_Err_NONE = 0,
    A_Err_GENERIC = 1,
    A_Err_STRUCT = 2,
    A_Err_PARAMETER = 3,
    A_Err_ALLOC = 4,
    A_Err_WRONG_THREAD = 5,
    A_Err_CONST_PROJECT_MODIFICATION = 6,
    A_Err_MISSING_SUITE = 13,
};

static_assert(sizeof(PF_SoundWorld) == 32 && sizeof(PF_PixelFloat) == 16 && sizeof(A_Matrix4) == 128);
