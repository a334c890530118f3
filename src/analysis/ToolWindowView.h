#pragma once

#include <QImage>
#include <QString>

#include <functional>

namespace velmora {

// The tool window's picture box, into which pictures are drawn to be
// fingerprinted. One unit is one pixel and the box has no border, so its width
// and height are also its inner size in pixels. Its design size is 150 x 150:
// width x height must stay at or below 32,767 pixels.
class PictureBox {
public:
    virtual ~PictureBox() = default;

    virtual int width() const = 0;
    virtual int height() const = 0;
    virtual void setWidth(int width) = 0;
    virtual void setHeight(int height) = 0;

    // Draws `picture` stretched over the whole box, from its top-left corner,
    // and makes the drawing the box's picture.
    virtual void drawStretched(const QImage& picture) = 0;
    // The box's pixels as drawn (width x height), for reading colours.
    virtual const QImage& pixels() const = 0;
    // Removes the box's picture.
    virtual void clearPicture() = 0;

    // Runs `work` with every use of this box going to one and the same box,
    // kept alive throughout even if its window is closed meanwhile, so that a
    // picture drawn and read across yields is fingerprinted on one surface.
    virtual void keepWhile(const std::function<void()>& work) { work(); }
};

// The box's background shows where a picture is transparent.
inline constexpr QRgb kPictureBoxBackground = 0xFFF0F0F0;

// `picture` stretched over a surface of width x height pixels, from its
// top-left corner, by plain pixel stretching (no smoothing), as the picture
// box has always drawn; a null image for an empty surface.
QImage stretchedDrawing(const QImage& picture, int width, int height);

// Throws VbError ("Invalid property value") for a progress outside 0 to 100.
void checkProgressValue(int percent);

// The few controls of the tool window that the engine writes to or reads.
// A Qt window implements it, and HeadlessToolWindow stands in for it where no
// window is shown.
class ToolWindowView {
public:
    virtual ~ToolWindowView() = default;

    // The status label ("spareL").
    virtual QString statusText() const = 0;
    virtual void setStatusText(const QString& text) = 0;
    // The counter label ("Label5").
    virtual void setCounterText(const QString& text) = 0;
    // The progress bar, 0 to 100; any other value is refused with VbError
    // ("Invalid property value") and the bar stays as it was.
    virtual void setProgress(int percent) = 0;
    // The picture box ("Picture1").
    virtual PictureBox& pictureBox() = 0;
    // The check box that switches text analysis off ("CheckBox1"), as it is
    // now: a window loaded afresh has it unticked.
    virtual bool textAnalysisSwitchedOff() const = 0;
};

} // namespace velmora
