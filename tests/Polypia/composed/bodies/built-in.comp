void main() { barrier(); }
