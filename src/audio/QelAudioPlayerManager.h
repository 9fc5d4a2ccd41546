// An audio player driven by one audio window: open an address, pause, resume, stop, seek,
// volume and the playback facts the window shows. This base does nothing; its defaults are
// the answers of a player that has nothing open.
#pragma once

#include <string>

class QelAudioPlayerWindow;

class QelAudioPlayerManager {
public:
    explicit QelAudioPlayerManager(QelAudioPlayerWindow* pOwner);
    QelAudioPlayerManager(const QelAudioPlayerManager&) = delete;
    QelAudioPlayerManager& operator=(const QelAudioPlayerManager&) = delete;

    virtual int ReservedGet0();
    // Opens url and starts playing it; here only whether url is non-empty.
    virtual bool Play(const std::wstring& url);
    virtual void Pause();
    virtual void Resume();
    virtual void Stop();
    // Position in thousandths of the length, 0 to 1000.
    virtual void SetPosition(int nPos);
    virtual void Forward();
    virtual void Backward();
    virtual void SetVolume(int nVolume);
    virtual int GetVolume();
    virtual bool IsPlaying();
    virtual int GetPosition();
    // Milliseconds.
    virtual long long GetLength();
    virtual long long GetTime();
    virtual void ReservedSet1(int nValue);
    virtual int ReservedGet1();
    virtual void ReservedSet2(int nValue);
    virtual int ReservedGet2();
    virtual void SetOption(int nValue);
    virtual int GetOption();
    virtual int ReservedGet3();

protected:
    // Not virtual: a player is always destroyed as the concrete object it is, never
    // through this base.
    ~QelAudioPlayerManager() = default;

    QelAudioPlayerWindow* m_pOwner;
    // Four settings; only the second (the option) is ever read back.
    int m_nSetting0 = 0;
    int m_nOption = 4;
    int m_nSetting2 = 2;
    int m_nSetting3 = 100;
};
