#include "audio/QelAudioPlayerManager.h"

QelAudioPlayerManager::QelAudioPlayerManager(QelAudioPlayerWindow* pOwner) : m_pOwner(pOwner) {}

int QelAudioPlayerManager::ReservedGet0() { return 0; }
bool QelAudioPlayerManager::Play(const std::wstring& url) { return !url.empty(); }
void QelAudioPlayerManager::Pause() {}
void QelAudioPlayerManager::Resume() {}
void QelAudioPlayerManager::Stop() {}
void QelAudioPlayerManager::SetPosition(int) {}
void QelAudioPlayerManager::Forward() {}
void QelAudioPlayerManager::Backward() {}
void QelAudioPlayerManager::SetVolume(int) {}
int QelAudioPlayerManager::GetVolume() { return 0; }
bool QelAudioPlayerManager::IsPlaying() { return false; }
int QelAudioPlayerManager::GetPosition() { return 0; }
long long QelAudioPlayerManager::GetLength() { return 0; }
long long QelAudioPlayerManager::GetTime() { return 0; }
void QelAudioPlayerManager::ReservedSet1(int) {}
int QelAudioPlayerManager::ReservedGet1() { return 0; }
void QelAudioPlayerManager::ReservedSet2(int) {}
int QelAudioPlayerManager::ReservedGet2() { return 0; }
void QelAudioPlayerManager::SetOption(int nValue) { m_nOption = nValue; }
int QelAudioPlayerManager::GetOption() { return m_nOption; }
int QelAudioPlayerManager::ReservedGet3() { return 2; }
