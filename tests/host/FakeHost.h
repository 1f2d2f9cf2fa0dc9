#pragma once

#include "host/api/HostApi.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

// A host with just enough behind its callbacks to drive the plug-in's commands in a test. One at a time.
class FakeHost {
public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    // Sends a command through the plug-in's entry, as a host does: keeps the handles that come back.
    PF_Err Send(PF_Cmd command, void* extra = nullptr);
    // Global set-up and parameter set-up.
    PF_Err Start();

    // A row of the table that the plug-in added, by its disk id.
    [[nodiscard]] PF_ParamDef& Row(std::uint32_t diskId);
    [[nodiscard]] PF_ParamIndex Index(std::uint32_t diskId) const;

    PF_Handle NewHandle(std::size_t size);
    [[nodiscard]] std::vector<std::byte> BytesOf(PF_Handle handle) const;
    PF_Handle HandleOf(const std::vector<std::byte>& bytes);
    void Dispose(PF_Handle handle);

    PF_InData in{};
    PF_OutData out{};
    std::vector<PF_ParamDef> rows;    // as added; values are what a checkout gives
    std::vector<std::string> labels;  // of checkboxes
    std::vector<std::string> choices; // of popups
    int controlsRegistered = 0;
    int checkedOut = 0; // parameters that are out now
    std::set<PF_Handle> alive;
    std::size_t handles = 0; // their number
    int progressCalls = 0;
    int stopAtProgress = -1; // the call of `progress` that tells of the user's stop
    PF_ParamIndex lastCheckout = -1;
    std::map<PF_ParamIndex, std::map<A_long, double>> floatsAtTime; // values that change over time
    int floatReads = 0;                                             // checkouts of rows in floatsAtTime
    // Suites that are offered, by name.
    std::map<std::string, const void*> suites;
    int suitesOut = 0;
    // Offers the suite that tells whether rows and layers have changed: they have when `receipt` has.
    void OfferReceipts();
    int receipt = 1;

private:
    PF_UtilCallbacks utils_{};
    SPBasicSuite basic_{};
    PF_ParamUtilsSuite3 paramUtils_{};
};

// A frame for smart render in 8 bits: the input layer of one colour, one output world, layers all without
// pixels.
class FakeFrame {
public:
    FakeFrame(FakeHost& host, int width, int height);

    PF_Err Render(); // pre-render, render, and freeing what lies between

    // Channel `c` (0 alpha to 3 blue) of an output pixel, 0 to 255.
    [[nodiscard]] int At(int x, int y, int c) const;
    [[nodiscard]] std::size_t PixelsDrawn() const; // output pixels with any alpha
    [[nodiscard]] double Coverage() const;         // area drawn in pixels: the sum of alpha

    std::vector<A_long> declared; // checkout ids of pre-render, in order
    std::vector<A_long> taken;    // checkout ids of render, in order
    PF_LRect resultRect{};

private:
    FakeHost& host_;
    int width_, height_;
    std::size_t rowBytes_;
    std::vector<std::byte> output_;
    PF_EffectWorld inputWorld_{}, outputWorld_{}, noWorld_{};
    std::vector<std::byte> input_;
};
