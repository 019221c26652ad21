// Rectangle geometry for laying out controls by their edges.
//
// NSPoint, NSSize and NSRect are plain structs in double precision, in
// non-flipped coordinates: left = x, right = x + width, bottom = y,
// top = y + height. The free functions read or change one edge, centre or
// size of a rectangle through a pointer; a null pointer makes a reader give
// 0 (or the point (0, 0)) and a changer do nothing. Scalar arguments and
// results are floats while rectangles stay double: readers round to float,
// and where noted the distance to move is itself computed in float. Those
// roundings, and the one-sided clamps of the Resize functions, are
// deliberate: the alert panel's layout (AUAlert.cpp), worked out in float,
// relies on them to land on the designed margins.
//
// Suffixes: MoveTo moves the whole rectangle so the edge lands on the value;
// Resize moves one edge by an amount; ResizeTo moves one edge to a value;
// SetHeight/SetWidth set the size, moving the named edge (negative sizes
// are ignored). The view layer (app/kit/View.h) applies each to a frame.
#pragma once

struct NSPoint {
    double x = 0;
    double y = 0;
};

struct NSSize {
    double width = 0;
    double height = 0;
};

struct NSRect {
    NSPoint origin;
    NSSize size;
};

// Corners and centre.
NSPoint NSRectLeftBottom(NSRect* r);
NSPoint NSRectLeftTop(NSRect* r);
NSPoint NSRectRightBottom(NSRect* r);
NSPoint NSRectRightTop(NSRect* r);
NSPoint NSRectCenter(const NSRect* r);

// Moves the rectangle so its centre lands on *p (each offset rounded to float).
void NSRectCenterMoveTo(NSRect* r, const NSPoint* p);
// Moves the rectangle up (v > 0) or down by v.
void NSRectVerticalMove(NSRect* r, float v);
// Moves the rectangle right (v > 0) or left by v.
void NSRectHorizontalMove(NSRect* r, float v);

// Top edge. Resizing never takes the height below 0 nor the top below the bottom.
float NSRectTop(const NSRect* r);
void NSRectTopMoveTo(NSRect* r, float v);
void NSRectTopResize(NSRect* r, float v);
void NSRectTopResizeTo(NSRect* r, float v);

// Bottom edge. BottomResize is unchecked, deliberately; BottomResizeTo stops
// at the top.
float NSRectBottom(const NSRect* r);
void NSRectBottomMoveTo(NSRect* r, float v);
void NSRectBottomResize(NSRect* r, float v);
void NSRectBottomResizeTo(NSRect* r, float v);

// Height; the setters keep the bottom (ResizingTop) or the top
// (ResizingBottom) where it is.
float NSRectHeight(const NSRect* r);
void NSRectSetHeightResizingTop(NSRect* r, float v);
void NSRectSetHeightResizingBottom(NSRect* r, float v);
// The vertical centre, and the move that puts it on v.
float NSRectCenterVertical(NSRect* r);
void NSRectCenterMoveToVertical(NSRect* r, float v);

// Left edge. LeftResize is unchecked, deliberately; LeftResizeTo stops at
// the right edge.
float NSRectLeft(const NSRect* r);
void NSRectLeftMoveTo(NSRect* r, float v);
void NSRectLeftResize(NSRect* r, float v);
void NSRectLeftResizeTo(NSRect* r, float v);

// Right edge. Resizing never takes the width below 0 nor the right edge
// past the left.
float NSRectRight(const NSRect* r);
void NSRectRightMoveTo(NSRect* r, float v);
void NSRectRightResize(NSRect* r, float v);
void NSRectRightResizeTo(NSRect* r, float v);

// Width; the setters keep the right edge (ResizingLeft) or the left edge
// (ResizingRight) where it is.
float NSRectWidth(const NSRect* r);
void NSRectSetWidthResizingLeft(NSRect* r, float v);
void NSRectSetWidthResizingRight(NSRect* r, float v);
