#include "platform/ffmpeg/FfmpegUtil.h"

#include <QFile>
#include <vector>

namespace Ffmpeg {

Input openInput(const QString &path)
{
    AVFormatContext *raw = nullptr;
    if (avformat_open_input(&raw, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return nullptr;
    Input input(raw);
    if (avformat_find_stream_info(input.get(), nullptr) < 0)
        return nullptr;
    return input;
}

namespace {

struct OutputClose {
    void operator()(AVFormatContext *f) const
    {
        if (f->pb)
            avio_closep(&f->pb);
        avformat_free_context(f);
    }
};

} // namespace

RemuxResult remuxToFastStart(const QString &source, const QString &target)
{
    Input input = openInput(source);
    if (!input)
        return RemuxResult::noVideo;
    AVFormatContext *rawOutput = nullptr;
    const QByteArray targetName = QFile::encodeName(target);
    if (avformat_alloc_output_context2(&rawOutput, nullptr, "mp4", targetName.constData()) < 0)
        return RemuxResult::failed;
    std::unique_ptr<AVFormatContext, OutputClose> output(rawOutput);

    std::vector<int> mapping(input->nb_streams, -1);
    bool hasVideo = false;
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVCodecParameters *parameters = input->streams[i]->codecpar;
        if (parameters->codec_type != AVMEDIA_TYPE_VIDEO && parameters->codec_type != AVMEDIA_TYPE_AUDIO)
            continue;
        AVStream *stream = avformat_new_stream(output.get(), nullptr);
        if (!stream || avcodec_parameters_copy(stream->codecpar, parameters) < 0)
            return RemuxResult::failed;
        stream->codecpar->codec_tag = 0;
        stream->time_base = input->streams[i]->time_base;
        av_dict_copy(&stream->metadata, input->streams[i]->metadata, 0);
        mapping[i] = stream->index;
        hasVideo = hasVideo || parameters->codec_type == AVMEDIA_TYPE_VIDEO;
    }
    if (!hasVideo)
        return RemuxResult::noVideo;
    if (avio_open(&output->pb, targetName.constData(), AVIO_FLAG_WRITE) < 0)
        return RemuxResult::failed;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int header = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    if (header < 0)
        return RemuxResult::failed;

    Packet packet(av_packet_alloc());
    int videoPackets = 0;
    // A fragment cut off by a crash ends the copy; what came before it is kept.
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        const int index = packet->stream_index;
        if (index < 0 || index >= int(mapping.size()) || mapping[index] < 0) {
            av_packet_unref(packet.get());
            continue;
        }
        if (output->streams[mapping[index]]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
            ++videoPackets;
        av_packet_rescale_ts(packet.get(), input->streams[index]->time_base,
                             output->streams[mapping[index]]->time_base);
        packet->stream_index = mapping[index];
        packet->pos = -1;
        if (av_interleaved_write_frame(output.get(), packet.get()) < 0)
            return RemuxResult::failed;
    }
    if (videoPackets == 0)
        return RemuxResult::noVideo;
    return av_write_trailer(output.get()) >= 0 ? RemuxResult::done : RemuxResult::failed;
}

} // namespace Ffmpeg
