#include "app/AUAppKitExtend.h"

NSPoint NSRectLeftBottom(NSRect* r) {
    return r ? NSPoint{r->origin.x, r->origin.y} : NSPoint{};
}

NSPoint NSRectLeftTop(NSRect* r) {
    return r ? NSPoint{r->origin.x, r->origin.y + r->size.height} : NSPoint{};
}

NSPoint NSRectRightBottom(NSRect* r) {
    return r ? NSPoint{r->origin.x + r->size.width, r->origin.y} : NSPoint{};
}

NSPoint NSRectRightTop(NSRect* r) {
    return r ? NSPoint{r->origin.x + r->size.width, r->origin.y + r->size.height} : NSPoint{};
}

NSPoint NSRectCenter(const NSRect* r) {
    return r ? NSPoint{r->origin.x + r->size.width * 0.5, r->origin.y + r->size.height * 0.5}
             : NSPoint{};
}

void NSRectCenterMoveTo(NSRect* r, const NSPoint* p) {
    if (!r || !p) {
        return;
    }
    const NSPoint center = NSRectCenter(r);
    r->origin.x += static_cast<float>(p->x - center.x);
    r->origin.y += static_cast<float>(p->y - center.y);
}

void NSRectVerticalMove(NSRect* r, float v) {
    if (r) {
        r->origin.y += v;
    }
}

void NSRectHorizontalMove(NSRect* r, float v) {
    if (r) {
        r->origin.x += v;
    }
}

float NSRectTop(const NSRect* r) {
    return r ? static_cast<float>(r->origin.y + r->size.height) : 0.0f;
}

void NSRectTopMoveTo(NSRect* r, float v) {
    if (r) {
        // The distance in float, deliberately: the alert panel's layout
        // (AUAlert.cpp) is worked out in float and lands on these values.
        r->origin.y += v - NSRectTop(r);
    }
}

void NSRectTopResize(NSRect* r, float v) {
    if (!r) {
        return;
    }
    if (v < 0 && r->size.height < -v) {
        v = static_cast<float>(-r->size.height); // never below zero height
    }
    r->size.height += v;
}

void NSRectTopResizeTo(NSRect* r, float v) {
    if (!r) {
        return;
    }
    const float target = r->origin.y > v ? static_cast<float>(r->origin.y) : v;
    NSRectTopResize(r, target - NSRectTop(r));
}

float NSRectBottom(const NSRect* r) {
    return r ? static_cast<float>(r->origin.y) : 0.0f;
}

void NSRectBottomMoveTo(NSRect* r, float v) {
    if (r) {
        r->origin.y = v;
    }
}

void NSRectBottomResize(NSRect* r, float v) {
    if (r) {
        // Unchecked, deliberately (the height may go negative): code that moves
        // the edge past the top and back relies on getting the same frame.
        r->size.height += v;
        r->origin.y -= v;
    }
}

void NSRectBottomResizeTo(NSRect* r, float v) {
    if (!r) {
        return;
    }
    const float top = NSRectTop(r);
    const float target = v < top ? v : top;
    const float d = static_cast<float>(r->origin.y - target);
    r->size.height += d;
    r->origin.y -= d;
}

float NSRectHeight(const NSRect* r) {
    return r ? static_cast<float>(r->size.height) : 0.0f;
}

void NSRectSetHeightResizingTop(NSRect* r, float v) {
    if (r && v >= 0) {
        r->size.height = v;
    }
}

void NSRectSetHeightResizingBottom(NSRect* r, float v) {
    if (r && v >= 0) {
        r->origin.y -= v - r->size.height;
        r->size.height = v;
    }
}

float NSRectCenterVertical(NSRect* r) {
    return r ? static_cast<float>(r->origin.y + r->size.height * 0.5) : 0.0f;
}

void NSRectCenterMoveToVertical(NSRect* r, float v) {
    if (r) {
        r->origin.y = v - r->size.height * 0.5;
    }
}

float NSRectLeft(const NSRect* r) {
    return r ? static_cast<float>(r->origin.x) : 0.0f;
}

void NSRectLeftMoveTo(NSRect* r, float v) {
    if (r) {
        r->origin.x = v;
    }
}

void NSRectLeftResize(NSRect* r, float v) {
    if (r) {
        // Unchecked, deliberately, as NSRectBottomResize and for the same callers.
        r->size.width += v;
        r->origin.x -= v;
    }
}

void NSRectLeftResizeTo(NSRect* r, float v) {
    if (!r) {
        return;
    }
    const float right = NSRectRight(r);
    const float target = v < right ? v : right;
    const float d = static_cast<float>(r->origin.x - target);
    r->size.width += d;
    r->origin.x -= d;
}

float NSRectRight(const NSRect* r) {
    return r ? static_cast<float>(r->origin.x + r->size.width) : 0.0f;
}

void NSRectRightMoveTo(NSRect* r, float v) {
    if (r) {
        // The distance in float, deliberately, as in NSRectTopMoveTo (AUAlert.cpp).
        r->origin.x += v - NSRectRight(r);
    }
}

void NSRectRightResize(NSRect* r, float v) {
    if (!r) {
        return;
    }
    if (v < 0 && r->size.width < -v) {
        v = static_cast<float>(-r->size.width); // never below zero width
    }
    r->size.width += v;
}

void NSRectRightResizeTo(NSRect* r, float v) {
    if (!r) {
        return;
    }
    const float target = r->origin.x > v ? static_cast<float>(r->origin.x) : v;
    NSRectRightResize(r, target - NSRectRight(r));
}

float NSRectWidth(const NSRect* r) {
    return r ? static_cast<float>(r->size.width) : 0.0f;
}

void NSRectSetWidthResizingLeft(NSRect* r, float v) {
    if (r && v >= 0) {
        r->origin.x -= v - r->size.width;
        r->size.width = v;
    }
}

void NSRectSetWidthResizingRight(NSRect* r, float v) {
    if (r && v >= 0) {
        r->size.width = v;
    }
}
