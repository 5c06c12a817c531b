/* A library as other compilers make them: one plain and one decorated export. */
__declspec(dllexport) int __stdcall plain(int value) { return 2 * value; }
__declspec(dllexport) int __stdcall decorated(int value) { return 3 * value; }
