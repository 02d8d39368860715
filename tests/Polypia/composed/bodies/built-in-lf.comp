uniform vec4 tint;
#line ./par 1
/* the last letter is lost */
#line N.comp 3
 #include "part"
void main() { barrier(); }
#line N.comp 6
