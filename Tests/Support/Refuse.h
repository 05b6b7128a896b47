#pragma once

/// From now on the _nNumber-th thread to be started (1 = the next one) is refused: the system says it has none left.
void Refuse_Thread(int _nNumber);
/// Refuses none any more; whether one was.
bool Refuse_End();
