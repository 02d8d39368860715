void main(void)
{	gl_Position = ftransform();}
