#pragma once

#include "host/api/Events.h"
#include "host/api/PfSuites.h"

// Drawing in a draw event: supplier makes pens, brushes, paths and images; surface draws with them.

struct _DRAWBOT_Supplier;
struct _DRAWBOT_Surface;
struct _DRAWBOT_Object;
struct _DRAWBOT_Image;
struct _DRAWBOT_Pen;
struct _DRAWBOT_Brush;
struct _DRAWBOT_Path;
struct _DRAWBOT_Font;
using DRAWBOT_SupplierRef = _DRAWBOT_Supplier*;
using DRAWBOT_SurfaceRef = _DRAWBOT_Surface*;
using DRAWBOT_ObjectRef = _DRAWBOT_Object*;
using DRAWBOT_ImageRef = _DRAWBOT_Image*;
using DRAWBOT_PenRef = _DRAWBOT_Pen*;
using DRAWBOT_BrushRef = _DRAWBOT_Brush*;
using DRAWBOT_PathRef = _DRAWBOT_Path*;
using DRAWBOT_FontRef = _DRAWBOT_Font*;
using DRAWBOT_Boolean = std::uint8_t;

struct DRAWBOT_ColorRGBA {
    float red, green, blue, alpha;
};
struct DRAWBOT_PointF32 {
    float x, y;
};
struct DRAWBOT_RectF32 {
    float left, top, width, height;
};
struct DRAWBOT_Rect32 {
    int left, top, width, height;
};
struct DRAWBOT_MatrixF32 {
    float mat[3][3];
};
using DRAWBOT_PixelLayout = int;
enum : int {
    kDRAWBOT_PixelLayout_24RGB = 0,
    kDRAWBOT_PixelLayout_24BGR = 1,
    kDRAWBOT_PixelLayout_32RGB = 2,
    kDRAWBOT_PixelLayout_32BGR = 3, // bytes blue, green, red, ignored
    kDRAWBOT_PixelLayout_32ARGB_Straight = 4,
    kDRAWBOT_PixelLayout_32ARGB_Premul = 5,
    kDRAWBOT_PixelLayout_32BGRA_Straight = 6,
    kDRAWBOT_PixelLayout_32BGRA_Premul = 7,
};
using DRAWBOT_AntiAliasPolicy = int;
enum : int {
    kDRAWBOT_AntiAliasPolicy_None = 0,
    kDRAWBOT_AntiAliasPolicy_Med = 1,
    kDRAWBOT_AntiAliasPolicy_High = 2
};
using DRAWBOT_InterpolationPolicy = int;
enum : int {
    kDRAWBOT_InterpolationPolicy_None = 0,
    kDRAWBOT_InterpolationPolicy_Med = 1,
    kDRAWBOT_InterpolationPolicy_High = 2,
};
using DRAWBOT_FillType = int;
enum : int { kDRAWBOT_FillType_EvenOdd = 0, kDRAWBOT_FillType_Winding = 1 };

inline constexpr char kDRAWBOT_DrawSuite[] = "DRAWBOT Draw Suite";
inline constexpr char kDRAWBOT_SupplierSuite[] = "DRAWBOT Supplier Suite";
inline constexpr char kDRAWBOT_SurfaceSuite[] = "DRAWBOT Surface Suite";
inline constexpr char kDRAWBOT_PathSuite[] = "DRAWBOT Path Suite";
inline constexpr std::int32_t kDRAWBOT_DrawSuite_Version1 = 1;
inline constexpr std::int32_t kDRAWBOT_SupplierSuite_Version1 = 1;
inline constexpr std::int32_t kDRAWBOT_SurfaceSuite_Version1 = 1;
inline constexpr std::int32_t kDRAWBOT_PathSuite_Version1 = 1;

struct DRAWBOT_DrawbotSuite1 {
    SPErr (*GetSupplier)(DRAWBOT_DrawRef draw, DRAWBOT_SupplierRef* supplier);
    SPErr (*GetSurface)(DRAWBOT_DrawRef draw, DRAWBOT_SurfaceRef* surface);
};
struct DRAWBOT_SupplierSuite1 {
    SPErr (*NewPen)(DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, float width,
                    DRAWBOT_PenRef* pen);
    SPErr (*NewBrush)(DRAWBOT_SupplierRef supplier, const DRAWBOT_ColorRGBA* color, DRAWBOT_BrushRef* brush);
    void* slot_2_to_4[3];
    SPErr (*NewImageFromBuffer)(DRAWBOT_SupplierRef supplier, int width, int height, int rowBytes,
                                DRAWBOT_PixelLayout layout, const void* pixels, DRAWBOT_ImageRef* image);
    SPErr (*NewPath)(DRAWBOT_SupplierRef supplier, DRAWBOT_PathRef* path);
    void* slot_7_to_10[4];
    SPErr (*RetainObject)(DRAWBOT_ObjectRef object);
    SPErr (*ReleaseObject)(DRAWBOT_ObjectRef object);
};
VELORIN_SUITE_SLOT(DRAWBOT_SupplierSuite1, ReleaseObject, 12);
struct DRAWBOT_SurfaceSuite1 {
    SPErr (*PushStateStack)(DRAWBOT_SurfaceRef surface);
    SPErr (*PopStateStack)(DRAWBOT_SurfaceRef surface);
    SPErr (*PaintRect)(DRAWBOT_SurfaceRef surface, const DRAWBOT_ColorRGBA* color,
                       const DRAWBOT_RectF32* rect);
    SPErr (*FillPath)(DRAWBOT_SurfaceRef surface, DRAWBOT_BrushRef brush, DRAWBOT_PathRef path,
                      DRAWBOT_FillType fill);
    SPErr (*StrokePath)(DRAWBOT_SurfaceRef surface, DRAWBOT_PenRef pen, DRAWBOT_PathRef path);
    void* slot_5_to_9[5];
    SPErr (*DrawImage)(DRAWBOT_SurfaceRef surface, DRAWBOT_ImageRef image, const DRAWBOT_PointF32* origin,
                       float alpha);
    SPErr (*SetInterpolationPolicy)(DRAWBOT_SurfaceRef surface, DRAWBOT_InterpolationPolicy policy);
    SPErr (*GetInterpolationPolicy)(DRAWBOT_SurfaceRef surface, DRAWBOT_InterpolationPolicy* policy);
    SPErr (*SetAntiAliasPolicy)(DRAWBOT_SurfaceRef surface, DRAWBOT_AntiAliasPolicy policy);
    SPErr (*GetAntiAliasPolicy)(DRAWBOT_SurfaceRef surface, DRAWBOT_AntiAliasPolicy* policy);
    SPErr (*Flush)(DRAWBOT_SurfaceRef surface);
    void* slot_16;
};
VELORIN_SUITE_SLOT(DRAWBOT_SurfaceSuite1, DrawImage, 10);
struct DRAWBOT_PathSuite1 { // angles in degrees, 0 at three o'clock, clockwise
    SPErr (*MoveTo)(DRAWBOT_PathRef path, float x, float y);
    SPErr (*LineTo)(DRAWBOT_PathRef path, float x, float y);
    SPErr (*BezierTo)(DRAWBOT_PathRef path, const DRAWBOT_PointF32* a, const DRAWBOT_PointF32* b,
                      const DRAWBOT_PointF32* end);
    SPErr (*AddRect)(DRAWBOT_PathRef path, const DRAWBOT_RectF32* rect);
    SPErr (*AddArc)(DRAWBOT_PathRef path, const DRAWBOT_PointF32* center, float radius, float start,
                    float sweep);
    SPErr (*Close)(DRAWBOT_PathRef path);
};
