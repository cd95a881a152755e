// SPDX-License-Identifier: ISC
// jack_take TO FROM IN EXPECTED [MIDI-TO BYTES...]: plays the file IN into the JACK port TO and
// records the port FROM until half a second after the end. Succeeds where the recording contains
// the samples of EXPECTED, bit for bit and without a gap; where they begin depends on the server's
// latency. Each of BYTES is a MIDI message to send before the take.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <memory>
#include <sndfile.h>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace quellard::test {
namespace {

std::vector<float> readTake(const char* path, int& rate) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path, SFM_READ, &info);
  if (file == nullptr || info.channels != 1) throw std::runtime_error(path);
  std::vector<float> samples(static_cast<std::size_t>(info.frames));
  sf_read_float(file, samples.data(), info.frames);
  sf_close(file);
  rate = info.samplerate;
  return samples;
}

class Player {
 public:
  Player(char** to, const std::vector<float>& take, int rate, std::span<char*> messages)
      : messages_(messages),
        client_(jack_client_open("take", JackNoStartServer, nullptr), jack_client_close) {
    if (!client_) throw std::runtime_error("no JACK server");
    if (jack_get_sample_rate(client_.get()) != static_cast<jack_nframes_t>(rate)) {
      throw std::runtime_error("another rate than the take's");
    }
    // Half a second of silence first, in which the ports get connected and the knob moves end.
    const auto second = static_cast<std::size_t>(rate);
    sent_.assign(second / 2, 0.0F);
    sent_.insert(sent_.end(), take.begin(), take.end());
    sent_.resize(sent_.size() + second / 2);
    heard_.resize(sent_.size());
    out_ = port("out", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput);
    in_ = port("in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput);
    midi_ = port("midi", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput);
    jack_set_process_callback(
        client_.get(),
        [](jack_nframes_t frames, void* self) { return static_cast<Player*>(self)->play(frames); },
        this);
    if (jack_activate(client_.get()) != 0 ||
        jack_connect(client_.get(), jack_port_name(out_), to[0]) != 0 ||
        jack_connect(client_.get(), to[1], jack_port_name(in_)) != 0 ||
        (!messages_.empty() && jack_connect(client_.get(), jack_port_name(midi_), to[4]) != 0)) {
      throw std::runtime_error(std::string("cannot connect ") + to[0] + " and " + to[1]);
    }
    started_ = true;
  }

  std::vector<float> listen() {
    while (done_ < sent_.size()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    jack_deactivate(client_.get());
    return heard_;
  }

 private:
  jack_port_t* port(const char* name, const char* type, unsigned long flags) {
    return jack_port_register(client_.get(), name, type, flags, 0);
  }

  int play(jack_nframes_t frames) {
    auto* out = static_cast<float*>(jack_port_get_buffer(out_, frames));
    const auto* in = static_cast<const float*>(jack_port_get_buffer(in_, frames));
    const std::size_t at = done_;
    const std::size_t count = started_ ? std::min<std::size_t>(frames, sent_.size() - at) : 0;
    std::fill_n(std::copy_n(sent_.data() + at, count, out), frames - count, 0.0F);
    std::copy_n(in, count, heard_.data() + at);
    void* midi = jack_port_get_buffer(midi_, frames);
    jack_midi_clear_buffer(midi);
    if (at <= kMidiAt && kMidiAt < at + count) {
      for (const char* message : messages_) {
        jack_midi_event_write(midi, static_cast<jack_nframes_t>(kMidiAt - at),
                              reinterpret_cast<const jack_midi_data_t*>(message),
                              std::strlen(message));
      }
    }
    done_ = at + count;
    return 0;
  }

  // After the ports are connected, and in the middle of a period.
  static constexpr std::size_t kMidiAt = 5000;
  std::span<char*> messages_;
  std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> client_;
  jack_port_t* out_ = nullptr;
  jack_port_t* in_ = nullptr;
  jack_port_t* midi_ = nullptr;
  std::vector<float> sent_;
  std::vector<float> heard_;
  std::atomic<bool> started_ = false;
  std::atomic<std::size_t> done_ = 0;
};

}  // namespace
}  // namespace quellard::test

int main(int argc, char** argv) try {
  if (argc < 5) throw std::runtime_error("usage: TO FROM IN EXPECTED [MIDI-TO BYTES...]");
  int rate = 0;
  const std::vector<float> expected = quellard::test::readTake(argv[4], rate);
  const std::vector<float> take = quellard::test::readTake(argv[3], rate);
  const std::span<char*> messages(argv + std::min(argc, 6), argv + argc);
  const auto heard = quellard::test::Player(argv + 1, take, rate, messages).listen();
  const auto same = [](float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; };
  const auto found =
      std::search(heard.begin(), heard.end(), expected.begin(), expected.end(), same);
  if (found == heard.end()) throw std::runtime_error("the expected samples were not heard");
  std::printf("%zu samples, the same to the bit\n", expected.size());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "jack_take: %s\n", error.what());
  return 1;
}
