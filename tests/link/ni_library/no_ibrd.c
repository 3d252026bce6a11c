/* A library that lacks ibrd: the loader must refuse it. */
int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) {
    return board + pad + sad + tmo + eot + eos;
}
int ibclr(int ud) { return ud; }
int ibwrt(int ud, const void* buf, long count) { return ud + (int)count + (buf != 0); }
