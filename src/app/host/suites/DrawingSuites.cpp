#include "app/host/suites/Suites.h"

// Drawing of custom controls. There is no panel to draw on: objects are made, counted and given back, and
// what is drawn goes nowhere.

namespace velorin::app {

namespace {

struct DrawingObject : HostObject {
    static constexpr ObjectKind kKind = ObjectKind::Drawing;
    DrawingObject() : HostObject(kKind) {}
};
struct ImageObject : HostObject { // may be kept between events
    static constexpr ObjectKind kKind = ObjectKind::Image;
    ImageObject() : HostObject(kKind) {}
};

template <class Object, class Handle>
SPErr Make(Handle* out) {
    Host& host = *Host::current();
    *out = host.objects.Make<Object, Handle>(host.run().number);
    return 0;
}

template <class Object, class Handle>
bool Known(Handle handle) {
    Host& host = *Host::current();
    if (host.objects.Find<Object>(handle)) return true;
    host.Fault("a drawing object is none or was given back");
    return false;
}

SPErr GetSupplier(DRAWBOT_DrawRef draw, DRAWBOT_SupplierRef* supplier) {
    *supplier = reinterpret_cast<DRAWBOT_SupplierRef>(draw);
    return draw ? 0 : 1;
}
SPErr GetSurface(DRAWBOT_DrawRef draw, DRAWBOT_SurfaceRef* surface) {
    *surface = reinterpret_cast<DRAWBOT_SurfaceRef>(draw);
    return draw ? 0 : 1;
}

SPErr NewPen(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA*, float, DRAWBOT_PenRef* pen) {
    return Make<DrawingObject>(pen);
}
SPErr NewBrush(DRAWBOT_SupplierRef, const DRAWBOT_ColorRGBA*, DRAWBOT_BrushRef* brush) {
    return Make<DrawingObject>(brush);
}
SPErr NewImage(DRAWBOT_SupplierRef, int width, int height, int, DRAWBOT_PixelLayout, const void* pixels,
               DRAWBOT_ImageRef* image) {
    if (width < 1 || height < 1 || !pixels) return 1;
    return Make<ImageObject>(image);
}
SPErr NewPath(DRAWBOT_SupplierRef, DRAWBOT_PathRef* path) {
    return Make<DrawingObject>(path);
}
SPErr Retain(DRAWBOT_ObjectRef) {
    return 0;
}
SPErr Release(DRAWBOT_ObjectRef object) {
    Host& host = *Host::current();
    if (host.objects.Dispose<DrawingObject>(object) || host.objects.Dispose<ImageObject>(object)) return 0;
    host.Fault("a drawing object was given back twice or is none");
    return 1;
}

SPErr State(DRAWBOT_SurfaceRef) {
    return 0;
}
SPErr PaintRect(DRAWBOT_SurfaceRef, const DRAWBOT_ColorRGBA*, const DRAWBOT_RectF32*) {
    return 0;
}
SPErr FillPath(DRAWBOT_SurfaceRef, DRAWBOT_BrushRef brush, DRAWBOT_PathRef path, DRAWBOT_FillType) {
    return Known<DrawingObject>(brush) && Known<DrawingObject>(path) ? 0 : 1;
}
SPErr StrokePath(DRAWBOT_SurfaceRef, DRAWBOT_PenRef pen, DRAWBOT_PathRef path) {
    return Known<DrawingObject>(pen) && Known<DrawingObject>(path) ? 0 : 1;
}
SPErr DrawImage(DRAWBOT_SurfaceRef, DRAWBOT_ImageRef image, const DRAWBOT_PointF32*, float) {
    return Known<ImageObject>(image) ? 0 : 1;
}
SPErr SetPolicy(DRAWBOT_SurfaceRef, int) {
    return 0;
}
SPErr GetPolicy(DRAWBOT_SurfaceRef, int* policy) {
    *policy = 0;
    return 0;
}

SPErr PathPoint(DRAWBOT_PathRef path, float, float) {
    return Known<DrawingObject>(path) ? 0 : 1;
}
SPErr BezierTo(DRAWBOT_PathRef path, const DRAWBOT_PointF32*, const DRAWBOT_PointF32*,
               const DRAWBOT_PointF32*) {
    return Known<DrawingObject>(path) ? 0 : 1;
}
SPErr AddRect(DRAWBOT_PathRef path, const DRAWBOT_RectF32*) {
    return Known<DrawingObject>(path) ? 0 : 1;
}
SPErr AddArc(DRAWBOT_PathRef path, const DRAWBOT_PointF32*, float, float, float) {
    return Known<DrawingObject>(path) ? 0 : 1;
}
SPErr Close(DRAWBOT_PathRef path) {
    return Known<DrawingObject>(path) ? 0 : 1;
}

} // namespace

std::span<const SuiteEntry> DrawingSuites() {
    static const DRAWBOT_DrawbotSuite1 draw{GetSupplier, GetSurface};
    static const DRAWBOT_SupplierSuite1 supplier{NewPen,  NewBrush, {},     NewImage,
                                                 NewPath, {},       Retain, Release};
    static const DRAWBOT_SurfaceSuite1 surface{State,     State,     PaintRect, FillPath,  StrokePath,
                                               {},        DrawImage, SetPolicy, GetPolicy, SetPolicy,
                                               GetPolicy, State,     nullptr};
    static const DRAWBOT_PathSuite1 path{PathPoint, PathPoint, BezierTo, AddRect, AddArc, Close};
    static const SuiteEntry entries[] = {
        {kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &draw},
        {kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &supplier},
        {kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version1, &surface},
        {kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &path},
    };
    return entries;
}

} // namespace velorin::app
