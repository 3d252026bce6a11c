/* A minimal NI-488.2-style library for the loader tests. It keeps its status only in the
   exported globals and, once a thread has registered them, in the caller's variables; it has no
   ThreadIbsta functions. Every call reports ibsta = 0x100 | call number, ibcntl = count. */
static int* reg_sta;
static int* reg_err;
static int* reg_cnt;
static long* reg_cntl;
static int registrations;

int ibsta;
int iberr;
int ibcnt;
long ibcntl;

static int report(int call, long count) {
    ibsta = 0x100 | call;
    iberr = call;
    ibcnt = (int)count;
    ibcntl = count;
    if (reg_sta) {
        *reg_sta = 0x200 | call;
        *reg_err = call + 100;
        *reg_cnt = (int)count;
        *reg_cntl = count + 1000;
    }
    return ibsta;
}

unsigned int RegisterGpibGlobalsForThread(int* sta, int* err, int* cnt, long* cntl) {
    if (registrations++ > 0) return 1;
    reg_sta = sta;
    reg_err = err;
    reg_cnt = cnt;
    reg_cntl = cntl;
    return 0;
}

unsigned int UnregisterGpibGlobalsForThread(void) {
    reg_sta = 0;
    reg_err = 0;
    reg_cnt = 0;
    reg_cntl = 0;
    registrations = 0;
    return 0;
}

int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) {
    report(1, board + pad + sad + tmo + eot + eos);
    return 7;
}
int ibclr(int ud) { return report(2, ud); }
int ibwrt(int ud, const void* buf, long count) {
    (void)ud;
    (void)buf;
    return report(3, count);
}
int ibrd(int ud, void* buf, long count) {
    (void)ud;
    if (count > 0) ((char*)buf)[0] = 'R';
    return report(4, 1);
}
int ibloc(int ud) { return report(5, ud); }
int ibonl(int ud, int v) { return report(6, ud + v); }
