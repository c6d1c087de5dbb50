// The sketch as one writes it with OpenCV: read, grey, dilate, divide, write. The
// yardstick that bench_batch holds crayvell-batch against.

#include <cstdlib>
#include <iostream>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace {

bool sketch(const std::string &input, const std::string &output, int quality)
{
    const cv::Mat photo = cv::imread(input);
    if (photo.empty())
        return false;
    cv::Mat grey, brightest, dodged;
    cv::cvtColor(photo, grey, cv::COLOR_BGR2GRAY);
    cv::dilate(grey, brightest, cv::Mat::ones(5, 5, CV_8U));
    cv::divide(grey, brightest, dodged, 255);
    return cv::imwrite(output, dodged, {cv::IMWRITE_JPEG_QUALITY, quality});
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::cerr << "usage: opencvsketch SUFFIX QUALITY PHOTO...\n";
        return 2;
    }
    cv::setNumThreads(1);
    for (int i = 3; i < argc; ++i) {
        if (!sketch(argv[i], std::string(argv[i]) + argv[1], std::atoi(argv[2])))
            return 1;
    }
    return 0;
}
