#pragma once

#include "capture/scrolling/ScrollFrame.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

// A tall RGBA "web page" drawn with OpenCV: lines of text, coloured blocks and pictures
// of noise, so that any two places of it look different. Frames are windows onto it.
inline cv::Mat syntheticPage(int width, int height, unsigned seed = 7)
{
    cv::Mat page(height, width, CV_8UC4, cv::Scalar(250, 250, 250, 255));
    cv::RNG rng(seed);
    int y = 10;
    while (y < height) {
        const int kind = rng.uniform(0, 4);
        if (kind == 0) {
            const int h = rng.uniform(40, 160);
            cv::rectangle(page, cv::Rect(rng.uniform(0, width / 3), y, rng.uniform(width / 4, width / 2), h),
                          cv::Scalar(rng.uniform(0, 255), rng.uniform(0, 255), rng.uniform(0, 255), 255), cv::FILLED);
            y += h + 12;
        } else if (kind == 1) {
            const int h = rng.uniform(60, 140);
            const cv::Rect r(rng.uniform(0, width / 2), y, std::min(width / 2, 400), h);
            cv::Mat roi = page(r & cv::Rect(0, 0, width, height));
            cv::randu(roi, cv::Scalar(0, 0, 0, 255), cv::Scalar(256, 256, 256, 256));
            y += h + 12;
        } else {
            for (int line = 0; line < 4 && y < height; ++line) {
                std::string text = "Line " + std::to_string(y) + " ";
                for (int w = 0; w < 12; ++w)
                    text += std::string(size_t(rng.uniform(2, 9)), char('a' + rng.uniform(0, 26))) + " ";
                cv::putText(page, text, cv::Point(8, y + 16), cv::FONT_HERSHEY_SIMPLEX, 0.55,
                            cv::Scalar(20, 20, 20, 255), 1, cv::LINE_AA);
                y += 24;
            }
        }
    }
    return page;
}

inline ScrollFrame frameOf(const cv::Mat &rgba)
{
    const cv::Mat packed = rgba.isContinuous() ? rgba : rgba.clone();
    return {packed.cols, packed.rows, QByteArray(reinterpret_cast<const char *>(packed.data), qsizetype(packed.total() * 4))};
}

// The window of `height` rows at `top`, with the page's first headerRows pinned on top
// (a sticky header) and its footer pinned at the bottom.
inline ScrollFrame pageWindow(const cv::Mat &page, int top, int height, int headerRows = 0, int footerRows = 0)
{
    cv::Mat window = page(cv::Rect(0, top, page.cols, height)).clone();
    if (headerRows > 0)
        page(cv::Rect(0, 0, page.cols, headerRows)).copyTo(window(cv::Rect(0, 0, page.cols, headerRows)));
    if (footerRows > 0)
        page(cv::Rect(0, page.rows - footerRows, page.cols, footerRows))
            .copyTo(window(cv::Rect(0, height - footerRows, page.cols, footerRows)));
    return frameOf(window);
}
